/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "media/BoundedStream.hpp"

#include <algorithm>

namespace reelhouse {

namespace {

// Takes out the 0 that stands after each 255 of an unsynchronised tag, and fills it up with 0, as tags may be.
void synchronise(char *begin, char *end)
{
	char *to = begin;
	for (const char *from = begin; from != end;) {
		*to++ = *from++;
		if (to[-1] == '\xff' && from != end && *from == '\0')
			from++;
	}
	std::fill(to, end, '\0');
}

} // namespace

BoundedStream::BoundedStream(QFile &file_, const std::atomic<bool> &stopped_)
	: file(file_), stopped(stopped_), size(file_.size())
{}

TagLib::ByteVector BoundedStream::readBlock(StreamSize length)
{
	// What a read costs besides its bytes.
	constexpr qint64 callCost = 256;
	const qint64 left = std::min(size - position, budget - callCost);
	if (stopped || left <= 0 || length == 0 || !file.seek(position))
		return {};
	const StreamSize wanted = std::min(length, static_cast<StreamSize>(left));
	TagLib::ByteVector block(static_cast<unsigned>(wanted), 0);
	const qint64 got = std::max<qint64>(file.read(block.data(), static_cast<qint64>(wanted)), 0);
	block.resize(static_cast<unsigned>(got));
	position += got;
	budget -= got + callCost;
	disarm(block, length);
	return block;
}

// TagLib unpacks a compressed frame of an ID3v2 tag to a thousand times its size, and follows frames within frames until
// its stack is full. Encrypted ones it leaves alone, so all of these are made to look encrypted: a title is none of them.
void BoundedStream::disarm(TagLib::ByteVector &block, StreamSize asked)
{
	constexpr unsigned headerSize = 10; // of the tag, and of a frame in it
	const int version = id3Version;
	id3Version = 0;
	// TagLib takes the last frame of a cut tag for whole if only this much is missing.
	if (version > 0 && block.size() < asked)
		block.resize(block.size() - std::min(block.size(), headerSize));
	char *bytes = block.data();
	if (block.size() == headerSize && block.startsWith("ID3")) {
		id3Version = bytes[3];
		unsynchronised = id3Version == 3 && (bytes[5] & '\x80');
		if (unsynchronised)
			bytes[5] = static_cast<char>(bytes[5] & '\x7f');
		return;
	}
	// Older ones have neither kind.
	if (version < 3)
		return;
	if (unsynchronised)
		synchronise(bytes, bytes + block.size());
	const char compressed = version == 3 ? '\x80' : '\x08', encrypted = version == 3 ? '\x40' : '\x04';
	const auto isIdByte = [](char c) {
		return (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
	};
	// Where frames start depends on how their sizes are read, so whatever could be the header of one is taken for it.
	for (char *frame = bytes; frame + headerSize <= bytes + block.size(); frame++) {
		// No size within the budget begins with another byte.
		if (!std::all_of(frame, frame + 3, isIdByte) || static_cast<unsigned char>(frame[4]) > 7)
			continue;
		const bool nests = std::equal(frame, frame + 4, "CHAP") || std::equal(frame, frame + 4, "CTOC");
		if (nests || (frame[9] & compressed))
			frame[9] = static_cast<char>(frame[9] | encrypted);
	}
}

void BoundedStream::seek(StreamOffset offset, Position from)
{
	const qint64 start = from == Beginning ? 0 : from == Current ? position : size;
	qint64 target = 0;
	if (!qAddOverflow(start, static_cast<qint64>(offset), &target) && target >= 0)
		position = target;
}

} // namespace reelhouse
