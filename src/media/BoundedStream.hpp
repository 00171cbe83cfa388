/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QByteArray>
#include <QFile>

#include <atomic>

#include <tiostream.h>

namespace reelhouse {

// TagLib's own types differ between 1.13 and 2.0.
#if TAGLIB_MAJOR_VERSION >= 2
using StreamOffset = TagLib::offset_t;
using StreamPlace = TagLib::offset_t;
using StreamSize = size_t;
#else
using StreamOffset = long;
using StreamPlace = unsigned long;
using StreamSize = unsigned long;
#endif

// An open file as TagLib is to see it: read-only, and at its end once much was read of it or the reading was stopped.
// So a hostile file neither keeps TagLib busy nor makes it take much memory. One thread, but for the flag.
class BoundedStream : public TagLib::IOStream {
public:
	BoundedStream(QFile &file, const std::atomic<bool> &stopped);

	// TagLib knows the kind of a file by its content, and tries the ending of its name first if it is told one.
	void setEnding(const QString &ending) { fileName = "." + ending.toUtf8(); }
	TagLib::FileName name() const override { return fileName.constData(); }

	TagLib::ByteVector readBlock(StreamSize length) override;
	// A place before the start or beyond all numbers is not gone to.
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
	// In bytes: enough for a large cover picture, or for the fragments of a film of many hours.
	qint64 budget = 16 << 20;
	// Of the ID3v2 header that was just read; version 0: what was read is none.
	int id3Version = 0;
	bool unsynchronised = false;
	QByteArray fileName = "";
};

} // namespace reelhouse
