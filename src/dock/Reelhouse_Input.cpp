/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "dock/Reelhouse.hpp"

#include <QDir>
#include <QDropEvent>
#include <QFileInfo>
#include <QGuiApplication>
#include <QHelpEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMimeData>
#include <QResizeEvent>
#include <QScreen>
#include <QToolTip>
#include <QUrl>

#include <algorithm>

#include "dock/widgets/TrackDelegate.hpp"
#include "dock/widgets/TrackListWidget.hpp"
#include "dock/widgets/TrackRow.hpp"
#include "queue/paths.hpp"

using namespace reelhouse;
using namespace Qt::StringLiterals;

namespace {

// Below this width, in pixels, the top of the dock takes two rows.
constexpr int wideWidth = 600;
// A tooltip's text leaves this many pixels of the screen's width free.
constexpr int tipMargin = 48;

// OBS handles its hotkeys after the focused widget, so the dock must leave Escape alone when a hotkey uses it.
bool obsUsesEscape()
{
	bool found = false;
	obs_enum_hotkey_bindings(
		[](void *data, size_t, obs_hotkey_binding_t *binding) {
			const obs_key_combination_t keys = obs_hotkey_binding_get_key_combination(binding);
			bool &used = *static_cast<bool *>(data);
			used = keys.modifiers == 0 && keys.key == OBS_KEY_ESCAPE;
			return !used;
		},
		&found);
	return found;
}

// The folder of a track as one line, or its URL up to the last slash.
QString folderText(const QString &path)
{
	const QString local = localFilePath(path);
	QString text;
	if (local.isEmpty())
		text = QUrl(path)
			       .adjusted(QUrl::RemoveFilename | QUrl::RemoveQuery | QUrl::RemoveFragment)
			       .toDisplayString();
	else
		text = QDir::toNativeSeparators(QFileInfo(local).absolutePath());
	std::ranges::replace_if(text, [](QChar c) { return c.isSpace(); }, u' ');
	return text;
}

// The user changes the time display with a click on the label, or with Space while the label has the focus.
bool choosesTimeMode(const QWidget *label, const QEvent *event)
{
	if (event->type() == QEvent::KeyPress) {
		const auto *key = static_cast<const QKeyEvent *>(event);
		return key->key() == Qt::Key_Space && key->modifiers() == Qt::NoModifier && !key->isAutoRepeat();
	}
	if (event->type() != QEvent::MouseButtonRelease)
		return false;
	const auto *mouse = static_cast<const QMouseEvent *>(event);
	return mouse->button() == Qt::LeftButton && label->rect().contains(mouse->position().toPoint());
}

bool isFileDrag(const QEvent *event)
{
	return event->type() == QEvent::DragEnter || event->type() == QEvent::DragMove || event->type() == QEvent::Drop;
}

} // namespace

bool Reelhouse::eventFilter(QObject *watched, QEvent *event)
{
	QWidget *viewport = playlistWidget->viewport();

	if (watched == viewport && event->type() == QEvent::ToolTip) {
		const auto *help = static_cast<QHelpEvent *>(event);
		if (!showFolderTip(help)) {
			QToolTip::showText(QPoint(), QString());
			event->ignore();
		}
		return true;
	}
	if (watched == trackCountLabel && event->type() == QEvent::ToolTip) {
		showLengthTip(static_cast<QHelpEvent *>(event));
		return true;
	}
	if (event->type() == QEvent::KeyPress &&
	    (watched == searchEdit || watched == playlistWidget || watched == viewport)) {
		const auto *key = static_cast<QKeyEvent *>(event);
		if (key->key() == Qt::Key_Escape && key->modifiers() == Qt::NoModifier && !obsUsesEscape()) {
			searchEdit->clear();
			playlistWidget->setFocus(Qt::ShortcutFocusReason);
			return true;
		}
	}
	if (watched == timeLabel && choosesTimeMode(timeLabel, event)) {
		toggleTimeDisplay();
		return true;
	}
	if (watched == viewport && isFileDrag(event)) {
		auto *drag = static_cast<QDropEvent *>(event);
		// QListWidget accepts rows of any other list, such as OBS's scenes and sources, so it must not see such
		// a drag. It handles only drags of its own rows.
		if (drag->source() != playlistWidget && drag->source() != viewport) {
			handleFileDrag(drag);
			return true;
		}
	}
	return QWidget::eventFilter(watched, event);
}

// Returns false when the pointer is not over the size column of a row.
bool Reelhouse::showFolderTip(const QHelpEvent *event)
{
	const QListWidgetItem *row = playlistWidget->itemAt(event->pos());
	if (!row)
		return false;
	const QRect column = sizeColumnOf(row);
	if (!column.contains(event->pos()))
		return false;

	const QScreen *screen = QGuiApplication::screenAt(event->globalPos());
	if (!screen)
		screen = playlistWidget->screen();
	const int width = screen ? screen->availableGeometry().width() : playlistWidget->width();
	const QString text = QFontMetrics(QToolTip::font())
				     .elidedText(folderText(row->data(PathRole).toString()), Qt::ElideMiddle,
						 std::max(width, tipMargin) - tipMargin);
	QToolTip::showText(event->globalPos(), u"<p style='white-space:pre'>%1</p>"_s.arg(text.toHtmlEscaped()),
			   playlistWidget->viewport(), column);
	return true;
}

QRect Reelhouse::sizeColumnOf(const QListWidgetItem *row) const
{
	const auto *delegate = static_cast<const TrackDelegate *>(playlistWidget->itemDelegate());
	QStyleOptionViewItem option;
	option.initFrom(playlistWidget);
	option.font = playlistWidget->font();
	option.widget = playlistWidget;
	option.rect = playlistWidget->visualItemRect(row);
	delegate->initStyleOption(&option, playlistWidget->indexFromItem(row));
	return TrackDelegate::sizeColumn(option) & option.rect;
}

void Reelhouse::handleFileDrag(QDropEvent *event)
{
	OBSSourceAutoRelease source = lockActive();
	const QList<QUrl> urls = event->mimeData()->urls();
	event->ignore();
	if (!source || std::ranges::none_of(urls, &QUrl::isLocalFile) ||
	    !event->possibleActions().testFlag(Qt::CopyAction))
		return;
	if (event->type() == QEvent::Drop) {
		const Operation operation(this);
		const QList<QString> files = droppedFiles(urls);
		if (files.isEmpty())
			return;
		appendFiles(files);
	}
	// Accept a copy, not the proposed action: after a move the file manager may delete the files.
	event->setDropAction(Qt::CopyAction);
	event->accept();
}

void Reelhouse::resizeEvent(QResizeEvent *event)
{
	QWidget::resizeEvent(event);
	const bool narrow = event->size().width() < wideWidth;
	if (!topGrid || narrow == narrowLayout)
		return;
	narrowLayout = narrow;
	placeTopGrid();
}
