/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "media/PlaylistFile.hpp"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSaveFile>
#include <QStringDecoder>
#include <QUrl>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>

#include <algorithm>
#include <optional>

#include "dock/paths.hpp"
#include "dock/text.hpp"

using namespace Qt::StringLiterals;

namespace reelhouse {

namespace {

// No playlist is larger; a larger file is probably a film with the wrong ending.
constexpr qint64 maxSize = 128 * 1024 * 1024;
constexpr auto xspfNamespace = "http://xspf.org/ns/0/"_L1;

QString folderOf(const QString &file)
{
	return QFileInfo(file).absolutePath();
}

QString endingOf(const QString &file)
{
	return QFileInfo(file).suffix().toLower();
}

bool hasEscapes(const QString &text)
{
	static const QRegularExpression escape(u"%[0-9A-Fa-f]{2}"_s);
	return text.contains(u'%') && text.contains(escape);
}

// Whether this is a Windows path with a drive letter.
bool startsWithDrive(QStringView path)
{
	return path.size() > 2 && path[0].isLetter() && path[1] == u':' && (path[2] == u'\\' || path[2] == u'/');
}

// ---- reading

// Returns an empty string for a URL that names no local file.
QString localFileOf(QUrl url)
{
	if (url.host() == "localhost"_L1)
		url.setHost(QString());
	return url.toLocalFile();
}

QString absolute(const QString &path, const QString &folder)
{
	return QDir::isAbsolutePath(path) ? path : QDir::cleanPath(folder + u'/' + path);
}

// Some programs escape a relative entry as in a URL and some write backslashes. Both may also be part of a name, so the
// file that exists decides.
QString relativeEntry(const QString &entry, const QString &folder)
{
	QString path = absolute(entry, folder);
	const bool escaped = hasEscapes(entry);
	const bool backslashes = entry.contains(u'\\');
	if ((!escaped && !backslashes) || QFileInfo::exists(path))
		return path;
	QString other = entry;
	if (backslashes)
		other.replace(u'\\', u'/');
	if (escaped)
		other = QUrl::fromPercentEncoding(other.toUtf8());
	other = absolute(other, folder);
	return QFileInfo::exists(other) ? other : path;
}

// Returns the path of an entry of an M3U or PLS file.
QString plainEntry(const QString &entry, const QString &folder)
{
	if (entry.startsWith("file:"_L1, Qt::CaseInsensitive)) {
		const QString local = localFileOf(QUrl(entry));
		return local.isEmpty() ? entry : absolute(local, folder);
	}
	if (entry.contains("://"_L1) || entry.startsWith("\\\\"_L1) || startsWithDrive(entry))
		return entry;
	return relativeEntry(entry, folder);
}

// Returns the path of a location of an XSPF file.
QString locationEntry(const QString &location, const QUrl &base)
{
	QUrl url(location);
	if (!url.isRelative() && url.scheme() != "file"_L1)
		return location;
	url = base.resolved(url);
	const QString local = localFileOf(url);
	return local.isEmpty() ? url.toString(QUrl::FullyEncoded) : local;
}

void add(QList<QString> &paths, const QString &path)
{
	// A path has no null character, and libobs would cut the path there.
	if (!path.isEmpty() && !path.contains(QChar(u'\0')) && !isTooLong(path))
		paths.append(path);
}

// Decodes UTF-8 with or without a byte order mark and UTF-16 with one. Other text is Latin-1 if the format allows that.
// Returns nothing for bytes that are not text.
std::optional<QString> decoded(const QByteArray &bytes, bool allowsLatin1)
{
	QStringDecoder decoder(QStringConverter::encodingForData(bytes).value_or(QStringConverter::Utf8),
			       QStringConverter::Flag::Stateless);
	QString text = decoder.decode(bytes);
	if (decoder.hasError() && allowsLatin1)
		text = QString::fromLatin1(bytes);
	else if (decoder.hasError())
		return std::nullopt;
	return text.contains(QChar(u'\0')) ? std::nullopt : std::optional(text);
}

template <typename Take> void eachLine(QStringView text, const Take &take)
{
	for (const QStringView line : text.tokenize(u'\n')) {
		for (const QStringView part : line.tokenize(u'\r')) {
			if (const QStringView trimmed = part.trimmed(); !trimmed.isEmpty())
				take(trimmed);
		}
	}
}

QList<QString> readM3u(const QString &text, const QString &file)
{
	const QString folder = folderOf(file);
	QList<QString> paths;
	bool isHls = false;
	eachLine(text, [&](QStringView line) {
		isHls = isHls || line.startsWith("#EXT-X-"_L1);
		if (!line.startsWith(u'#'))
			add(paths, plainEntry(line.toString(), folder));
	});
	return isHls ? QList{QFileInfo(file).absoluteFilePath()} : paths;
}

QList<QString> readPls(const QString &text, const QString &file)
{
	const QString folder = folderOf(file);
	// (number, path)
	QList<std::pair<qulonglong, QString>> numbered;
	eachLine(text, [&](QStringView line) {
		const qsizetype equals = line.indexOf(u'=');
		if (equals < 0 || !line.startsWith("File"_L1, Qt::CaseInsensitive))
			return;
		bool isNumber = false;
		const qulonglong number = line.first(equals).sliced(4).trimmed().toULongLong(&isNumber);
		const QStringView entry = line.sliced(equals + 1).trimmed();
		if (isNumber && !entry.isEmpty())
			numbered.emplaceBack(number, plainEntry(entry.toString(), folder));
	});
	std::ranges::stable_sort(numbered, {}, &std::pair<qulonglong, QString>::first);
	QList<QString> paths;
	for (const auto &[number, path] : std::as_const(numbered))
		add(paths, path);
	return paths;
}

// Calls take for each child element with this name and skips all other children.
template <typename Take> void eachElement(QXmlStreamReader &reader, QLatin1StringView name, const Take &take)
{
	while (reader.readNextStartElement()) {
		if (reader.name() == name)
			take();
		else
			reader.skipCurrentElement();
	}
}

PlaylistContent readXspf(const QByteArray &bytes, const QString &file)
{
	PlaylistContent content;
	QXmlStreamReader reader(bytes);
	QUrl base = QUrl::fromLocalFile(QFileInfo(file).absoluteFilePath());
	eachElement(reader, "playlist"_L1, [&] {
		base = base.resolved(QUrl(reader.attributes().value("xml:base"_L1).toString()));
		eachElement(reader, "trackList"_L1, [&] {
			eachElement(reader, "track"_L1, [&] {
				// Players use the first location of a track.
				QString location;
				eachElement(reader, "location"_L1, [&] {
					const QString text =
						reader.readElementText(QXmlStreamReader::SkipChildElements);
					if (location.isEmpty())
						location = text.trimmed();
				});
				if (!location.isEmpty())
					add(content.paths, locationEntry(location, base));
			});
		});
	});
	if (reader.hasError())
		content = {{}, reader.errorString()};
	return content;
}

// ---- writing

// Returns the text as one line, without outer spaces, which a reader trims, and without characters that XML forbids.
QString oneLine(const QString &title)
{
	QString line = QString::fromUtf8(title.toUtf8());
	std::ranges::replace_if(
		line, [](QChar c) { return c.category() == QChar::Other_Control || c.unicode() >= 0xFFFE; }, u' ');
	return line.trimmed();
}

// Returns a local file relative to the folder if it is below the folder, else its absolute path.
QString pathFrom(const QString &folder, const QString &local)
{
	const QString path = QDir::cleanPath(local);
	const QString prefix = folder.endsWith(u'/') ? folder : folder + u'/';
	return path.startsWith(prefix) ? path.sliced(prefix.size()) : path;
}

// Returns a URL unchanged unless it holds a character that would break the line.
QString urlText(const QString &url)
{
	return oneLine(url) == url ? url : QString::fromLatin1(QUrl::toPercentEncoding(url, "!#$%&'()*+,/:;=?@[]"));
}

// Whether every M3U reader finds this file again, even one that reads each entry as a URL.
bool readsAsItself(const QString &path)
{
	return oneLine(path) == path && !path.contains(u'#') && !path.contains(u'?') && !path.contains(u'\\') &&
	       !path.contains("://"_L1) && !hasEscapes(path);
}

QString m3uLine(const QString &path, const QString &folder)
{
	const QString local = localFilePath(path);
	if (local.isEmpty())
		return urlText(path);
	const QString text = pathFrom(folder, local);
	if (!readsAsItself(text))
		return QUrl::fromLocalFile(local).toString(QUrl::FullyEncoded);
	// A reader may take the text before a colon for the scheme of a URL.
	return text.contains(u':') && QDir::isRelativePath(text) ? "./"_L1 + text : text;
}

QString xspfLocation(const QString &path, const QString &folder)
{
	const QString local = localFilePath(path);
	if (local.isEmpty())
		return urlText(path);
	const QString text = pathFrom(folder, local);
	if (QDir::isAbsolutePath(text))
		return QUrl::fromLocalFile(text).toString(QUrl::FullyEncoded);
	return QString::fromLatin1(QUrl::toPercentEncoding(text, "/!$&'()*+,;=@"));
}

QByteArray m3uText(const QList<PlaylistEntry> &entries, const QString &folder)
{
	QString text = u"#EXTM3U\n"_s;
	for (const auto &[path, title, durationMs] : entries) {
		const qint64 seconds = durationMs < 0 ? -1 : (durationMs + 500) / 1000;
		text += "#EXTINF:"_L1 + QString::number(seconds) + u',' + oneLine(title) + u'\n' +
			m3uLine(path, folder) + u'\n';
	}
	return text.toUtf8();
}

QByteArray xspfText(const QList<PlaylistEntry> &entries, const QString &folder)
{
	QByteArray text;
	QXmlStreamWriter writer(&text);
	writer.setAutoFormatting(true);
	writer.setAutoFormattingIndent(-1);
	writer.writeStartDocument();
	writer.writeDefaultNamespace(xspfNamespace);
	writer.writeStartElement(xspfNamespace, "playlist"_L1);
	writer.writeAttribute("version"_L1, "1"_L1);
	writer.writeStartElement(xspfNamespace, "trackList"_L1);
	for (const auto &[path, title, durationMs] : entries) {
		writer.writeStartElement(xspfNamespace, "track"_L1);
		writer.writeTextElement(xspfNamespace, "location"_L1, xspfLocation(path, folder));
		writer.writeTextElement(xspfNamespace, "title"_L1, oneLine(title));
		if (durationMs >= 0)
			writer.writeTextElement(xspfNamespace, "duration"_L1, QString::number(durationMs));
		writer.writeEndElement();
	}
	writer.writeEndDocument();
	return text;
}

} // namespace

PlaylistContent readPlaylist(const QString &path)
{
	QFile file(path);
	// Opening a pipe would block until a program writes to it.
	if (const QFileInfo info(path); info.exists() && !info.isFile())
		return {{}, ui("PlaylistNotText")};
	if (!file.open(QIODevice::ReadOnly))
		return {{}, file.errorString()};
	if (file.size() > maxSize)
		return {{}, ui("PlaylistTooLarge")};
	const QByteArray bytes = file.readAll();
	if (file.error() != QFile::NoError)
		return {{}, file.errorString()};

	const QString ending = endingOf(path);
	if (ending == "xspf"_L1)
		return readXspf(bytes, path);
	const std::optional<QString> text = decoded(bytes, ending != "m3u8"_L1);
	if (!text)
		return {{}, ui("PlaylistNotText")};
	return {ending == "pls"_L1 ? readPls(*text, path) : readM3u(*text, path), {}};
}

QString writePlaylist(const QString &path, const QList<PlaylistEntry> &entries)
{
	const QString folder = folderOf(path);
	const QByteArray text = endingOf(path) == "xspf"_L1 ? xspfText(entries, folder) : m3uText(entries, folder);
	// QSaveFile renames over the old file, so a failed write leaves that file whole.
	QSaveFile file(path);
	if (file.open(QIODevice::WriteOnly) && file.write(text) == text.size() && file.commit())
		return {};
	return file.errorString();
}

} // namespace reelhouse
