/* SPDX-License-Identifier: GPL-2.0-or-later */

// Loading, searching, showing.

#include "cases.hpp"

#include <QFileInfo>
#include <QPainter>
#include <QStyledItemDelegate>

#include <malloc.h>

#include "Stage.hpp"

using namespace Qt::StringLiterals;

namespace {

void readArray(obs_data_array_t *array)
{
	for (size_t i = 0; i < obs_data_array_count(array); i++) {
		OBSDataAutoRelease item = obs_data_array_item(array, i);
		const QString path = QString::fromUtf8(obs_data_get_string(item, "value"));
		const QString id = QString::fromUtf8(obs_data_get_string(item, "id"));
	}
}

void queryFiles(const QStringList &files)
{
	for (const QString &file : files) {
		const QFileInfo info(file);
		if (info.isFile())
			(void)info.size();
	}
}

// One keystroke that leads from one search text to another.
void search(Comparison &comparison, const QString &from, const QString &to)
{
	Stage stage(comparison.rows);
	BareList list(stage.list(), tracksOf(mediaFiles(comparison.rows)));
	list.fill(comparison.rows);
	const auto floor = [&] {
		list.filter(to);
		layOut(&list);
	};
	const auto dock = [&] {
		stage.search(to);
		layOut(stage.list());
	};
	comparison.run(floor, dock, [&] {
		list.filter(from);
		stage.search(from);
		Stage::settle();
	});
}

// Draws what the dock's rows show from texts and places made beforehand.
class BareDelegate : public QStyledItemDelegate {
public:
	explicit BareDelegate(BareList *list_) : QStyledItemDelegate(list_), list(list_) {}

	void paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override
	{
		QStyleOptionViewItem row = option;
		initStyleOption(&row, index);
		const QString label = std::exchange(row.text, QString());
		const QStyle *style = list->style();
		style->drawControl(QStyle::CE_ItemViewItem, &row, painter, list);
		const auto draw = [&](int left, int width, Qt::Alignment alignment, const QString &text) {
			style->drawItemText(painter, QRect(left, row.rect.top(), width, row.rect.height()),
					    static_cast<int>((alignment | Qt::AlignVCenter).toInt()), row.palette, true,
					    text, QPalette::Text);
		};
		painter->save();
		painter->setFont(bold);
		draw(4, 60, Qt::AlignRight, numbers.at(index.row() % 100));
		painter->setFont(row.font);
		draw(row.rect.right() - 80, 80, Qt::AlignRight, size);
		draw(70, row.rect.width() - 160, Qt::AlignLeft, label);
		painter->restore();
	}

private:
	const BareList *list;
	const QFont bold = [] {
		QFont font = QApplication::font();
		font.setBold(true);
		return font;
	}();
	const QString size = u"1.5 MiB"_s;
	const QStringList numbers = [] {
		QStringList texts;
		for (int i = 0; i < 100; i++)
			texts.append(QString::number(i + 1));
		return texts;
	}();
};

double bytesInUse()
{
	const struct mallinfo2 info = mallinfo2();
	return static_cast<double>(info.uordblks + info.hblkhd);
}

} // namespace

void loadQueue(Comparison &comparison)
{
	Stage stage(comparison.rows);
	stage.playThrough(comparison.rows - 1);
	const QStringList files = mediaFiles(comparison.rows);
	const QList<Reelhouse::Track> tracks = tracksOf(files);
	BareList list(stage.list(), tracks);
	OBSDataArrayAutoRelease stored = bareArray(tracks);
	const auto floor = [&] {
		readArray(stored);
		queryFiles(files);
		list.fill(comparison.rows);
		layOut(&list);
		stored = bareArray(tracks);
	};
	const auto dock = [&] {
		stage.reload();
		layOut(stage.list());
	};
	comparison.run(floor, dock, &Stage::settle);
}

void searchFew(Comparison &comparison)
{
	search(comparison, QString(), u"EPISODE 42"_s);
}

void searchHalf(Comparison &comparison)
{
	search(comparison, QString(), u"LIVE"_s);
}

void searchAll(Comparison &comparison)
{
	search(comparison, QString(), u"SEASON"_s);
}

void clearSearch(Comparison &comparison)
{
	search(comparison, u"LIVE"_s, QString());
}

void paintPage(Comparison &comparison)
{
	Stage stage(comparison.rows);
	BareList list(stage.list(), tracksOf(mediaFiles(comparison.rows)));
	list.setItemDelegate(new BareDelegate(&list));
	list.fill(comparison.rows);
	list.setCurrentRow(0);
	Stage::settle();
	comparison.run([&] { list.viewport()->repaint(); }, [&] { stage.list()->viewport()->repaint(); });
}

// What the dock holds of a bound source beside the record, which stays with the source.
void weighEntries(Comparison &comparison)
{
	const auto bytes = [rows = comparison.rows](const Comparison::Work &work) {
		const double before = bytesInUse();
		work();
		Stage::settle();
		return (bytesInUse() - before) / rows;
	};
	Stage stage(comparison.rows);
	stage.playThrough(0);
	stage.child<QComboBox>("sourceSelector")->setCurrentIndex(0);
	Stage::settle();
	const double dock = bytes([&] { stage.choose(stage.source); });

	BareList list(stage.list(), {});
	const QStringList files = mediaFiles(comparison.rows);
	Stage::settle();
	const double floor = bytes([&] {
		for (const QString &file : files) {
			const QString path = QString::fromUtf8(file.toUtf8());
			list.append({path.section(u'/', -1), Reelhouse::Track::fromPath(path)});
		}
		layOut(&list);
	});
	comparison.weigh(floor, dock);
}
