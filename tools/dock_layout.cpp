/* SPDX-License-Identifier: GPL-2.0-or-later */

// Prints the state of a main window, in the form of OBS's configuration: OBS's docks along the bottom and our dock
// above them, or at the right of the picture with the argument "side". Without such a state OBS opens a new dock
// floating and hidden.

#include <QApplication>
#include <QDockWidget>
#include <QMainWindow>

#include <cstdio>
#include <cstring>

namespace {

QDockWidget *addDock(QMainWindow &window, const QString &name, Qt::DockWidgetArea area = Qt::BottomDockWidgetArea)
{
	auto *dock = new QDockWidget(name, &window);
	dock->setObjectName(name);
	window.addDockWidget(area, dock);
	return dock;
}

} // namespace

int main(int argc, char **argv)
{
	QApplication app(argc, argv);
	QMainWindow window;
	window.resize(1500, 940);
	window.setCentralWidget(new QWidget);
	window.setDockNestingEnabled(true);

	const bool side = argc > 1 && std::strcmp(argv[1], "side") == 0;
	QDockWidget *reelhouse = addDock(window, QStringLiteral("OBS-Reelhouse"),
					 side ? Qt::RightDockWidgetArea : Qt::BottomDockWidgetArea);
	QDockWidget *scenes = addDock(window, QStringLiteral("scenesDock"));
	if (!side)
		window.splitDockWidget(reelhouse, scenes, Qt::Vertical);
	QDockWidget *left = scenes;
	for (const char *name : {"sourcesDock", "mixerDock", "transitionsDock", "controlsDock"}) {
		QDockWidget *dock = addDock(window, QString::fromLatin1(name));
		window.splitDockWidget(left, dock, Qt::Horizontal);
		left = dock;
	}
	window.show();
	window.resizeDocks({reelhouse, scenes}, {300, 220}, Qt::Vertical);
	if (side)
		window.resizeDocks({reelhouse}, {380}, Qt::Horizontal);
	QCoreApplication::processEvents();
	std::puts(window.saveState().toBase64().constData());
	return 0;
}
