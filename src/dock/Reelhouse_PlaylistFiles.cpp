/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "dock/Reelhouse.hpp"

#include <QFileDialog>
#include <QFileInfo>
#include <QMessageBox>

#include "media/PlaylistFile.hpp"
#include "media/tags.hpp"
#include "queue/paths.hpp"
#include "queue/text.hpp"

using namespace reelhouse;
using namespace Qt::StringLiterals;

namespace {

// The dock owns the dialog and may be deleted while the dialog is open.
QFileDialog *makeDialog(QWidget *dock, const char *titleKey, const QStringList &filters)
{
	auto *dialog = new QFileDialog(dock, ui(titleKey));
	dialog->setAttribute(Qt::WA_DeleteOnClose);
	dialog->setNameFilters(filters);
	return dialog;
}

} // namespace

void Reelhouse::chooseImport()
{
	if (!OBSSourceAutoRelease(lockSource()))
		return;
	QFileDialog *dialog = makeDialog(this, "ImportPlaylistTitle", {ui("PlaylistFileFilter")});
	dialog->setFileMode(QFileDialog::ExistingFile);
	// During the dialog, the dock may have been bound to another source. The file is not meant for that source's
	// queue.
	connect(dialog, &QFileDialog::fileSelected, this, [this, serial = bindSerial.load()](const QString &file) {
		if (serial == bindSerial)
			importPlaylist(file);
	});
	dialog->open();
}

void Reelhouse::chooseExport()
{
	if (tracks.isEmpty())
		return;
	const QString xspfFilter = ui("PlaylistXspfFilter");
	QFileDialog *dialog = makeDialog(this, "ExportPlaylistTitle", {ui("PlaylistM3u8Filter"), xspfFilter});
	dialog->setAcceptMode(QFileDialog::AcceptSave);
	// The dialog adds the filter's ending to a name without one, before it asks whether to replace an existing
	// file.
	dialog->setDefaultSuffix(u"m3u8"_s);
	connect(dialog, &QFileDialog::filterSelected, dialog, [dialog, xspfFilter](const QString &filter) {
		dialog->setDefaultSuffix(filter == xspfFilter ? u"xspf"_s : u"m3u8"_s);
	});
	connect(dialog, &QFileDialog::fileSelected, this, [this, serial = bindSerial.load()](const QString &file) {
		if (serial == bindSerial)
			exportPlaylist(file);
	});
	dialog->open();
}

void Reelhouse::importPlaylist(const QString &file)
{
	const auto [paths, error, leftOut] = readPlaylist(file);
	if (!error.isEmpty())
		tellError(ui("PlaylistReadError").arg(file, error));
	else if (paths.isEmpty())
		tellError(leftOut.isEmpty() ? ui("PlaylistEmpty").arg(file) : leftOut);
	else
		appendFiles(paths);
	// After the import, which clears the message line.
	if (!paths.isEmpty() && !leftOut.isEmpty())
		tellError(leftOut);
}

void Reelhouse::exportPlaylist(const QString &file)
{
	const QHash<QString, qint64> lengths = tagReader->lengths();
	QList<PlaylistEntry> entries;
	entries.reserve(tracks.size());
	for (const Track &track : tracks)
		entries.append({track.path, labelFor(track.path, false), lengths.value(track.path, -1)});
	const QString error = writePlaylist(file, entries);
	if (error.isEmpty())
		clearError();
	else
		tellError(ui("PlaylistWriteError").arg(file, error));
}

void Reelhouse::tellError(const QString &message)
{
	showError(message);
	showBoxIfHidden(message, true);
}

// A command of OBS's menu bar works while the dock is closed or behind a tab. Then the message line cannot be seen, and
// a message box tells the same.
void Reelhouse::showBoxIfHidden(const QString &message, bool isError)
{
	if (!visibleRegion().isEmpty())
		return;
	QWidget *mainWindow = this;
	while (mainWindow->parentWidget())
		mainWindow = mainWindow->parentWidget();
	const QMessageBox::Icon icon = isError ? QMessageBox::Warning : QMessageBox::Information;
	auto *box = new QMessageBox(icon, ui("DockName"), message, QMessageBox::Ok, mainWindow);
	box->setAttribute(Qt::WA_DeleteOnClose);
	box->setTextFormat(Qt::PlainText);
	box->open();
}
