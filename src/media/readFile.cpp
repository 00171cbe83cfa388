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

#include <fileref.h>
#include <tag.h>
#include <tdebuglistener.h>
#include <tiostream.h>

using namespace Qt::StringLiterals;

namespace reelhouse {

namespace {

constexpr qsizetype longestText = 500;

#if TAGLIB_MAJOR_VERSION >= 2
using Offset = TagLib::offset_t;
using InsertOffset = TagLib::offset_t;
using RemoveOffset = TagLib::offset_t;
using Size = size_t;
#else
using Offset = long;
using InsertOffset = unsigned long;
using RemoveOffset = unsigned long;
using Size = unsigned long;
#endif

// A file as TagLib is to see it: read-only, and at its end when too much was read of it or the reading was stopped. So a
// hostile file cannot keep TagLib busy, nor make it take more memory than that.
class BoundedStream : public TagLib::IOStream {
public:
	// By what it has in it a file is known better than by the ending of its name, so that has to be given apart.
	BoundedStream(QFile &file_, const std::atomic<bool> &stopped_)
		: file(file_), stopped(stopped_), size(file.size())
	{}
	void setEnding(const QString &ending) { fileName = "." + ending.toUtf8(); }

	TagLib::FileName name() const override { return fileName.constData(); }
	bool readOnly() const override { return true; }
	bool isOpen() const override { return true; }
	Offset tell() const override { return static_cast<Offset>(position); }
	Offset length() override { return static_cast<Offset>(size); }

	TagLib::ByteVector readBlock(Size length) override;
	void seek(Offset offset, Position from = Beginning) override;

	void writeBlock(const TagLib::ByteVector &) override {}
	void insert(const TagLib::ByteVector &, InsertOffset = 0, Size = 0) override {}
	void removeBlock(RemoveOffset = 0, Size = 0) override {}
	void truncate(Offset) override {}

private:
	QFile &file;
	const std::atomic<bool> &stopped;
	const qint64 size;
	qint64 position = 0;
	// In bytes. Cover pictures are read as well, and of a film in fragments a hundred thousand headers.
	qint64 budget = 64 << 20;
	QByteArray fileName = "";
};

TagLib::ByteVector BoundedStream::readBlock(Size length)
{
	// What a short read costs besides its bytes.
	constexpr qint64 callCost = 256;
	const qint64 left = std::min(size - position, budget - callCost);
	if (stopped || left <= 0 || length == 0 || !file.seek(position))
		return {};
	const Size wanted = std::min(length, static_cast<Size>(left));
	TagLib::ByteVector block(static_cast<unsigned>(wanted), 0);
	const qint64 read = std::max<qint64>(file.read(block.data(), static_cast<qint64>(wanted)), 0);
	block.resize(static_cast<unsigned>(read));
	position += read;
	budget -= read + callCost;
	return block;
}

void BoundedStream::seek(Offset offset, Position from)
{
	const qint64 start = from == Beginning ? 0 : from == Current ? position : size;
	qint64 target = 0;
	if (!qAddOverflow(start, static_cast<qint64>(offset), &target) && target >= 0)
		position = target;
}

// TagLib as it is packaged writes what it thinks of a file to stderr.
class SilentListener : public TagLib::DebugListener {
public:
	void printMessage(const TagLib::String &) override {}
};

void silenceTagLib()
{
	// Never destroyed: another user of TagLib in this process may still be heard when the program ends.
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

Tags readStream(BoundedStream &stream)
{
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
	// To open a pipe or a device may wait forever, and has effects.
	const QFileInfo info(path);
	QFile file(path);
	if (path.isEmpty() || !info.isFile() || !file.open(QIODevice::ReadOnly))
		return {};
	silenceTagLib();
	try {
		BoundedStream stream(file, stopped);
		Tags tags = readStream(stream);
		if (tags == Tags()) {
			stream.setEnding(info.suffix());
			stream.seek(0);
			tags = readStream(stream);
		}
		return tags;
	} catch (const std::exception &) {
		// Of the standard library's, from inside TagLib.
		return {};
	}
}

} // namespace reelhouse

#endif
