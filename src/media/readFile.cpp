/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "media/readFile.hpp"

#ifndef REELHOUSE_TAGLIB

reelhouse::Tags reelhouse::readFile(const QString &, const std::atomic<bool> &)
{
	return {};
}

#else

#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <array>
#include <exception>
#include <limits>

#include <fileref.h>
#include <tag.h>
#include <tdebuglistener.h>

#include "media/BoundedStream.hpp"

using namespace Qt::StringLiterals;

namespace reelhouse {

namespace {

constexpr qsizetype longestText = 500;

// Packaged builds of TagLib write debug messages to stderr.
class SilentListener : public TagLib::DebugListener {
public:
	void printMessage(const TagLib::String &) override {}
};

void silenceTagLib()
{
	// Never destroy the listener: another user of TagLib in this process may send messages until the process ends.
	static const TagLib::DebugListener *const listener = [] {
		auto *silent = new SilentListener;
		TagLib::setDebugListener(silent);
		return silent;
	}();
	Q_UNUSED(listener);
}

QString oneLine(const TagLib::String &text)
{
	QString line = QString::fromStdString(text.to8Bit(true));
	std::ranges::replace_if(line, [](QChar c) { return c.category() == QChar::Other_Control; }, u' ');
	line = line.simplified();
	if (line.size() <= longestText)
		return line;
	return line.first(longestText - (line[longestText - 1].isHighSurrogate() ? 1 : 0));
}

// Values of an MP4 file as a whole. TagLib reads only the length of its sound.
struct Movie {
	qint64 durationMs = -1;
	bool tooDeep = false;
};

qint64 movieDuration(const TagLib::ByteVector &header)
{
	const bool wide = !header.isEmpty() && header[0] == 1;
	const unsigned at = wide ? 20 : 12;
	if (header.size() < (wide ? 32u : 20u))
		return -1;
	const qint64 perSecond = header.toUInt(at);
	const qint64 length = wide ? header.toLongLong(at + 4) : header.toUInt(at + 4);
	const bool known = perSecond > 0 && length > 0 && length < std::numeric_limits<qint64>::max() / 1000 &&
			   (wide || length != 0xffffffff);
	return known ? length * 1000 / perSecond : -1;
}

bool isContainer(const TagLib::ByteVector &name)
{
	constexpr std::array names = {"moov", "udta", "mdia", "meta", "ilst", "stbl",
				      "minf", "moof", "traf", "trak", "stsd"};
	return std::ranges::any_of(names, [&name](const char *one) { return name == one; });
}

// Walks the atoms as TagLib does, to find nesting that would fill TagLib's stack.
void followAtoms(BoundedStream &stream, qint64 end, int depth, Movie &movie)
{
	// Real files have at most six levels.
	movie.tooDeep |= depth > 16;
	while (!movie.tooDeep && stream.tell() + 8 <= end) {
		const qint64 start = stream.tell(), most = stream.length() - start;
		const TagLib::ByteVector header = stream.readBlock(8);
		const TagLib::ByteVector name = header.mid(4);
		qint64 length = header.toUInt();
		if (length == 1)
			length = stream.readBlock(8).toLongLong();
		else if (length == 0)
			length = most;
		if (header.size() < 8 || length < 8 || length > most)
			return stream.seek(0, TagLib::IOStream::End);
		if (name == "mvhd")
			movie.durationMs = movieDuration(stream.readBlock(32));
		if (!isContainer(name)) {
			stream.seek(static_cast<StreamOffset>(start + length));
			continue;
		}
		if (name == "meta") {
			const qint64 inner = stream.tell();
			const TagLib::ByteVector child = stream.readBlock(8).mid(4);
			const bool bare = child == "hdlr" || child == "ilst" || child == "mhdr" || child == "ctry" ||
					  child == "lang";
			stream.seek(static_cast<StreamOffset>(bare ? inner : inner + 4));
		} else if (name == "stsd") {
			stream.seek(8, TagLib::IOStream::Current);
		}
		followAtoms(stream, start + length, depth + 1, movie);
	}
}

Tags readStream(BoundedStream &stream)
{
	stream.seek(0);
	const TagLib::FileRef file(&stream);
	Tags tags;
	if (const TagLib::Tag *tag = file.isNull() ? nullptr : file.tag()) {
		tags.title = oneLine(tag->title());
		tags.artist = oneLine(tag->artist());
	}
	const TagLib::AudioProperties *audio = file.isNull() ? nullptr : file.audioProperties();
	if (audio && audio->lengthInMilliseconds() > 0)
		tags.durationMs = audio->lengthInMilliseconds();
	return tags;
}

} // namespace

Tags readFile(const QString &path, const std::atomic<bool> &stopped)
{
	// Open only plain files: opening a pipe or a device may block for ever and has effects.
	const QFileInfo info(path);
	QFile file(path);
	if (path.isEmpty() || !info.isFile() || !file.open(QIODevice::ReadOnly))
		return {};
	silenceTagLib();
	try {
		BoundedStream stream(file, stopped);
		Movie movie;
		followAtoms(stream, stream.length(), 0, movie);
		if (movie.tooDeep)
			return {};
		Tags tags = readStream(stream);
		if (tags == Tags()) {
			stream.setEnding(info.suffix());
			tags = readStream(stream);
		}
		// A player plays the whole movie, not only the length of its sound.
		if (movie.durationMs > 0)
			tags.durationMs = movie.durationMs;
		return tags;
	} catch (const std::exception &) {
		// TagLib lets exceptions of the standard library through.
		return {};
	}
}

} // namespace reelhouse

#endif
