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
#include <array>

#include "queue/paths.hpp"
#include "queue/text.hpp"

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

// What a file gives to the queue.
struct Entries {
	QList<QString> paths;
	QList<qint64> skipped; // numbers of the lines whose entry is no path

	void add(const QString &path, qint64 line)
	{
		// A path has no null character, and libobs would cut the path there.
		if (path.contains(QChar(u'\0')) || !path.isValidUtf16() || isTooLong(path))
			skipped.append(line);
		else if (!path.isEmpty())
			paths.append(path);
	}
};

QString fromWindows1252(const QByteArray &bytes)
{
	// The characters from 0x80 to 0x9F. All others are those of Latin-1.
	static constexpr std::array<char16_t, 32> special = {
		0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
		0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
		0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,
	};
	QString text = QString::fromLatin1(bytes);
	for (QChar &c : text) {
		if (c >= u'\x80' && c <= u'\x9F')
			c = special.at(c.unicode() - 0x80);
	}
	return text;
}

// Old players write Windows-1252, some of them beside lines of UTF-8.
QString decodedByLine(QByteArray bytes)
{
	QString text;
	text.reserve(bytes.size());
	bytes.replace("\r\n", "\n").replace('\r', '\n');
	for (const QByteArray &line : bytes.split('\n'))
		text += (line.isValidUtf8() ? QString::fromUtf8(line) : fromWindows1252(line)) + u'\n';
	return text;
}

// Decodes by the byte order mark, else as UTF-8, else line by line. A damaged character becomes a null character, so
// that its line is left out.
QString decoded(const QByteArray &bytes)
{
	const auto encoding = QStringConverter::encodingForData(bytes).value_or(QStringConverter::Utf8);
	if (encoding == QStringConverter::Utf8 && !bytes.isValidUtf8())
		return decodedByLine(bytes);
	QStringDecoder decoder(encoding, QStringConverter::Flag::Stateless);
	QString text = decoder.decode(bytes);
	// Qt reports no error for a file that ends inside a character.
	const bool isCut = encoding != QStringConverter::Utf8 && bytes.size() % 2 != 0;
	if (decoder.hasError() || isCut)
		text.replace(QChar::ReplacementCharacter, QChar(u'\0'));
	return text;
}

// Calls take for each line that is not empty, with its number from 1.
template <typename Take> void eachLine(QString text, const Take &take)
{
	text.replace("\r\n"_L1, "\n"_L1).replace(u'\r', u'\n');
	qint64 number = 0;
	for (const QStringView line : QStringView(text).tokenize(u'\n')) {
		number++;
		if (const QStringView trimmed = line.trimmed(); !trimmed.isEmpty())
			take(trimmed, number);
	}
}

// Whether at least every second line is free of control characters. The bytes of a film are full of them.
bool isText(const QString &text)
{
	qsizetype lines = 0, strange = 0;
	eachLine(text, [&](QStringView line, qint64) {
		lines++;
		strange += std::ranges::any_of(line, [](QChar c) { return c < u' ' && c != u'\t'; });
	});
	return strange <= lines / 2;
}

Entries readM3u(const QString &text, const QString &file)
{
	const QString folder = folderOf(file);
	Entries entries;
	bool isHls = false;
	eachLine(text, [&](QStringView line, qint64 number) {
		isHls = isHls || line.startsWith("#EXT-X-"_L1);
		if (!line.startsWith(u'#'))
			entries.add(plainEntry(line.toString(), folder), number);
	});
	return isHls ? Entries{{QFileInfo(file).absoluteFilePath()}, {}} : entries;
}

Entries readPls(const QString &text, const QString &file)
{
	const QString folder = folderOf(file);
	struct Numbered {
		qulonglong number;
		QString path;
		qint64 line;
	};
	QList<Numbered> numbered;
	eachLine(text, [&](QStringView line, qint64 at) {
		const qsizetype equals = line.indexOf(u'=');
		if (equals < 0 || !line.startsWith("File"_L1, Qt::CaseInsensitive))
			return;
		bool isNumber = false;
		const qulonglong number = line.first(equals).sliced(4).trimmed().toULongLong(&isNumber);
		const QStringView entry = line.sliced(equals + 1).trimmed();
		if (isNumber && !entry.isEmpty())
			numbered.append({number, plainEntry(entry.toString(), folder), at});
	});
	std::ranges::stable_sort(numbered, {}, &Numbered::number);
	Entries entries;
	for (const auto &[number, path, line] : std::as_const(numbered))
		entries.add(path, line);
	return entries;
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

// Returns the entries up to the first error, which the reader then has.
Entries readXspf(QXmlStreamReader &reader, const QString &file)
{
	Entries entries;
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
					entries.add(locationEntry(location, base), reader.lineNumber());
			});
		});
	});
	return entries;
}

// Returns the message for the skipped lines, the first of them by number; empty when there are none.
QString withoutLines(QList<qint64> lines, const QString &file)
{
	constexpr qsizetype mostNumbers = 10;
	std::ranges::sort(lines);
	QStringList numbers;
	for (const qint64 line : std::as_const(lines).first(std::min(lines.size(), mostNumbers)))
		numbers.append(QString::number(line));
	if (lines.size() > mostNumbers)
		numbers.append(u"…"_s);
	return lines.isEmpty() ? QString() : ui("PlaylistWithoutLines").arg(file, numbers.join(", "_L1));
}

PlaylistContent xspfContent(const QByteArray &bytes, const QString &file)
{
	QXmlStreamReader reader(bytes);
	Entries entries = readXspf(reader, file);
	if (reader.hasError() && !bytes.isValidUtf8()) {
		reader.clear();
		reader.addData(decoded(bytes));
		entries = readXspf(reader, file);
	}
	if (!reader.hasError())
		return {entries.paths, {}, withoutLines(entries.skipped, file)};
	if (entries.paths.isEmpty())
		return {{}, reader.errorString(), {}};
	const QString line = QString::number(reader.lineNumber());
	return {entries.paths, {}, ui("PlaylistUpToLine").arg(file, line, reader.errorString())};
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
		return {{}, ui("PlaylistNotText"), {}};
	if (!file.open(QIODevice::ReadOnly))
		return {{}, file.errorString(), {}};
	if (file.size() > maxSize)
		return {{}, ui("PlaylistTooLarge"), {}};
	const QByteArray bytes = file.readAll();
	if (file.error() != QFile::NoError)
		return {{}, file.errorString(), {}};

	const QString ending = endingOf(path);
	if (ending == "xspf"_L1)
		return xspfContent(bytes, path);
	const QString text = decoded(bytes);
	if (!isText(text))
		return {{}, ui("PlaylistNotText"), {}};
	const auto [paths, skipped] = ending == "pls"_L1 ? readPls(text, path) : readM3u(text, path);
	return {paths, {}, withoutLines(skipped, path)};
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
