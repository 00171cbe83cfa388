/* SPDX-License-Identifier: GPL-2.0-or-later */
#include <QApplication>

#include <gtest/gtest.h>

int main(int argc, char **argv)
{
	QApplication app(argc, argv);
	QApplication::setQuitOnLastWindowClosed(false);
	testing::InitGoogleTest(&argc, argv);
	return RUN_ALL_TESTS();
}
