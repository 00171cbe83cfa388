/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "HeldClock.hpp"
#include "Host.hpp"

#include <QApplication>

int main(int argc, char **argv)
{
	QApplication app(argc, argv);
	QApplication::setQuitOnLastWindowClosed(false);
	testing::InitGoogleTest(&argc, argv);
	HeldClock::hold();
	passTime = HeldClock::pass;
	return RUN_ALL_TESTS();
}
