/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "media/BoundedStream.hpp"

#include <algorithm>

namespace reelhouse {

namespace {

// Removes the 0 after each 255 of an unsynchronised tag. Fills the end with 0, which a tag allows.
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
	// The fixed part of what a read takes from the budget.
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

// Hides the frames of an ID3v2 tag that are dangerous: TagLib unpacks a compressed frame to a thousand times its size,
// and follows nested frames until the stack is full. TagLib skips encrypted frames, so this marks both kinds as
// encrypted. No title is in them.
void BoundedStream::disarm(TagLib::ByteVector &block, StreamSize asked)
{
	constexpr unsigned headerSize = 10; // of the tag and of each frame
	const int version = id3Version;
	id3Version = 0;
	// TagLib accepts the last frame of a cut tag when no more than a header's size is missing. A file that is cut
	// there has no media to play, so it loses nothing with the whole tag.
	if (version > 0 && block.size() < asked)
		block.clear();
	char *bytes = block.data();
	if (block.size() == headerSize && block.startsWith("ID3")) {
		id3Version = bytes[3];
		unsynchronised = id3Version == 3 && (bytes[5] & '\x80');
		if (unsynchronised)
			bytes[5] = static_cast<char>(bytes[5] & '\x7f');
		return;
	}
	// Versions before 3 have no such frames.
	if (version < 3)
		return;
	if (unsynchronised)
		synchronise(bytes, bytes + block.size());
	const char compressed = version == 3 ? '\x80' : '\x08', encrypted = version == 3 ? '\x40' : '\x04';
	const auto isIdByte = [](char c) {
		return (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
	};
	// The start of a frame depends on how sizes are read, so check every place that may be a frame header.
	for (char *frame = bytes; frame + headerSize <= bytes + block.size(); frame++) {
		// The first byte of a size within the budget is at most 7.
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
