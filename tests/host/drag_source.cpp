/* SPDX-License-Identifier: GPL-2.0-or-later */

// A window from which the files named on the command line are dragged, as from a file manager. It says how far the drag
// has come: "shown", "dragging", and "taken" once the window under the pointer is willing to take the files.

#include <QApplication>
#include <QDrag>
#include <QMimeData>
#include <QMouseEvent>
#include <QUrl>
#include <QWidget>

#include <cstdio>

void say(const char *word)
{
	std::puts(word);
	std::fflush(stdout);
}

class DragSource : public QWidget {
	void paintEvent(QPaintEvent *) override { say("shown"); }
	void mousePressEvent(QMouseEvent *) override
	{
		auto *files = new QMimeData;
		QList<QUrl> urls;
		for (const QString &path : QCoreApplication::arguments().mid(1))
			urls.append(QUrl::fromUserInput(path));
		files->setUrls(urls);
		auto *drag = new QDrag(this);
		drag->setMimeData(files);
		connect(drag, &QDrag::actionChanged, this, [](Qt::DropAction action) {
			if (action != Qt::IgnoreAction)
				say("taken");
		});
		say("dragging");
		// Returns before the target has fetched the files from here, so this program has to be ended from outside.
		drag->exec(Qt::CopyAction | Qt::MoveAction, Qt::CopyAction);
	}
};

int main(int argc, char **argv)
{
	QApplication app(argc, argv);
	DragSource window;
	window.setWindowFlags(Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint);
	window.setGeometry(0, 0, 60, 60);
	window.show();
	return QApplication::exec();
}
