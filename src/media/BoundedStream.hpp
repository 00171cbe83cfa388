/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QByteArray>
#include <QFile>

#include <atomic>

#include <tiostream.h>

namespace reelhouse {

// The types of TagLib 1.13 and 2.0 differ.
#if TAGLIB_MAJOR_VERSION >= 2
using StreamOffset = TagLib::offset_t;
using StreamPlace = TagLib::offset_t;
using StreamSize = size_t;
#else
using StreamOffset = long;
using StreamPlace = unsigned long;
using StreamSize = unsigned long;
#endif

// An open file for TagLib: read-only, with a budget. Reads return nothing once the budget is used up or stopped is set,
// so a hostile file costs TagLib little time and memory. Use it on one thread; any thread may set the flag.
class BoundedStream : public TagLib::IOStream {
public:
	BoundedStream(QFile &file, const std::atomic<bool> &stopped);

	// Sets the ending of the file's name. TagLib tries the kind for this ending before it looks at the content.
	void setEnding(const QString &ending) { fileName = "." + ending.toUtf8(); }
	TagLib::FileName name() const override { return fileName.constData(); }

	TagLib::ByteVector readBlock(StreamSize length) override;
	// Does nothing for a position before the start or too large for a number.
	void seek(StreamOffset offset, Position from = Beginning) override;
	StreamOffset tell() const override { return static_cast<StreamOffset>(position); }
	StreamOffset length() override { return static_cast<StreamOffset>(size); }

	bool readOnly() const override { return true; }
	bool isOpen() const override { return true; }
	void writeBlock(const TagLib::ByteVector &) override {}
	void insert(const TagLib::ByteVector &, StreamPlace = 0, StreamSize = 0) override {}
	void removeBlock(StreamPlace = 0, StreamSize = 0) override {}
	void truncate(StreamOffset) override {}

private:
	void disarm(TagLib::ByteVector &block, StreamSize asked);

	QFile &file;
	const std::atomic<bool> &stopped;
	const qint64 size;
	qint64 position = 0;
	// In bytes; enough for a large cover picture or for the fragments of a film of many hours.
	qint64 budget = 16 << 20;
	// The version in the ID3v2 header of the last read; 0 when the last read was not such a header.
	int id3Version = 0;
	bool unsynchronised = false;
	QByteArray fileName = "";
};

} // namespace reelhouse
