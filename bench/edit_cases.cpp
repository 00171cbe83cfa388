/* SPDX-License-Identifier: GPL-2.0-or-later */

// Removing, undoing, moving.

#include "cases.hpp"

#include <QDrag>
#include <QDropEvent>
#include <QMimeData>

#include "Stage.hpp"

using namespace Qt::StringLiterals;

namespace {

void selectEvery(QListWidget *list, int count, int step)
{
	QItemSelection selection;
	for (int i = 0; i < count; i++) {
		const QModelIndex index = list->model()->index((i + 1) * step, 0);
		selection.append(QItemSelectionRange(index));
	}
	list->selectionModel()->setCurrentIndex(selection.constFirst().topLeft(), QItemSelectionModel::NoUpdate);
	list->selectionModel()->select(selection, QItemSelectionModel::ClearAndSelect);
	list->scrollToTop();
}

// Runs work while a drag of the list's own goes on.
void whileDragging(QListWidget *list, const std::function<void()> &work)
{
	bool ran = false;
	auto *drag = new QDrag(list);
	drag->setMimeData(new QMimeData);
	QTimer::singleShot(0, drag, [&] {
		work();
		ran = true;
		QDrag::cancel();
	});
	drag->exec(Qt::MoveAction);
	EXPECT_TRUE(ran) << "the platform knows no drags";
}

// Drops at the list's top.
void drop(QListWidget *list)
{
	const std::unique_ptr<QMimeData> data(list->model()->mimeData({list->model()->index(0, 0)}));
	QDragEnterEvent enter(QPoint(), Qt::MoveAction, data.get(), Qt::LeftButton, {});
	QCoreApplication::sendEvent(list->viewport(), &enter);
	QDropEvent event(QPointF(), Qt::MoveAction, data.get(), Qt::LeftButton, {});
	event.setDropAction(Qt::MoveAction);
	QCoreApplication::sendEvent(list->viewport(), &event);
}

} // namespace

void removeHalf(Comparison &comparison)
{
	const int rows = comparison.rows;
	Stage stage(rows);
	stage.playThrough(0);
	BareList list(stage.list(), tracksOf(mediaFiles(rows)));
	const auto floor = [&] {
		list.fill(rows / 2);
		layOut(&list);
	};
	const auto dock = [&] {
		stage.action("remove")->trigger();
		layOut(stage.list());
	};
	comparison.run(floor, dock, [&] {
		stage.action("undoRemove")->trigger();
		stage.select(rows / 2, rows - 1);
		list.fill(rows);
		Stage::settle();
	});
	EXPECT_EQ(stage.list()->count(), rows / 2);
}

void undoHalf(Comparison &comparison)
{
	const int rows = comparison.rows;
	Stage stage(rows);
	stage.playThrough(0);
	BareList list(stage.list(), tracksOf(mediaFiles(rows)));
	const auto floor = [&] {
		list.fill(rows);
		layOut(&list);
	};
	const auto dock = [&] {
		stage.action("undoRemove")->trigger();
		layOut(stage.list());
	};
	comparison.run(floor, dock, [&] {
		stage.select(rows / 2, rows - 1);
		stage.action("remove")->trigger();
		list.fill(rows / 2);
		Stage::settle();
	});
	EXPECT_EQ(stage.list()->count(), rows);
}

// Rows from all over the queue, to its top.
template <int dragged> void dragRows(Comparison &comparison)
{
	const int step = comparison.rows / (dragged + 1);
	Stage stage(comparison.rows);
	stage.playThrough(0);
	BareList list(stage.list(), tracksOf(mediaFiles(comparison.rows)));
	list.fill(comparison.rows);
	const auto before = [&] {
		selectEvery(&list, dragged, step);
		selectEvery(stage.list(), dragged, step);
		Stage::settle();
	};
	const auto dock = [&] {
		drop(stage.list());
		layOut(stage.list());
	};
	const auto floor = [&] {
		list.moveRows(dragged, step);
		layOut(&list);
	};
	whileDragging(stage.list(), [&] { comparison.run(floor, dock, before); });
	EXPECT_TRUE(stage.list()->item(0)->isSelected());
}

template void dragRows<1>(Comparison &comparison);
template void dragRows<100>(Comparison &comparison);
template void dragRows<1000>(Comparison &comparison);

void moveToTop(Comparison &comparison)
{
	Stage stage(comparison.rows);
	stage.playThrough(0);
	BareList list(stage.list(), tracksOf(mediaFiles(comparison.rows)));
	list.fill(comparison.rows);
	const auto floor = [&] {
		list.insertItem(0, list.takeItem(comparison.rows - 1));
		list.setCurrentRow(0);
		layOut(&list);
	};
	const auto dock = [&] {
		stage.action("moveTop")->trigger();
		layOut(stage.list());
	};
	comparison.run(floor, dock, [&] {
		stage.list()->setCurrentRow(comparison.rows - 1);
		list.setCurrentRow(comparison.rows - 1);
		Stage::settle();
	});
	EXPECT_EQ(stage.list()->currentRow(), 0);
}
