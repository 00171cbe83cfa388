/* SPDX-License-Identifier: GPL-2.0-or-later */

// Prints the state of a main window with OBS's docks along the bottom and ours above them, as OBS keeps it in its
// configuration. Without one, OBS opens a new dock floating and hidden.

#include <QApplication>
#include <QDockWidget>
#include <QMainWindow>

#include <cstdio>

namespace {

QDockWidget *addDock(QMainWindow &window, const QString &name)
{
	auto *dock = new QDockWidget(name, &window);
	dock->setObjectName(name);
	window.addDockWidget(Qt::BottomDockWidgetArea, dock);
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

	QDockWidget *reelhouse = addDock(window, QStringLiteral("OBS-Reelhouse"));
	QDockWidget *scenes = addDock(window, QStringLiteral("scenesDock"));
	window.splitDockWidget(reelhouse, scenes, Qt::Vertical);
	QDockWidget *left = scenes;
	for (const char *name : {"sourcesDock", "mixerDock", "transitionsDock", "controlsDock"}) {
		QDockWidget *dock = addDock(window, QString::fromLatin1(name));
		window.splitDockWidget(left, dock, Qt::Horizontal);
		left = dock;
	}
	window.show();
	window.resizeDocks({reelhouse, scenes}, {300, 220}, Qt::Vertical);
	QCoreApplication::processEvents();
	std::puts(window.saveState().toBase64().constData());
	return 0;
}
