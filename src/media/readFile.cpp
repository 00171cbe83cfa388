/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "media/readFile.hpp"

#ifndef REELHOUSE_LIBAV

reelhouse::Tags reelhouse::readFile(const QString &, const std::atomic<bool> &, qint64 *)
{
	return {};
}

#else

#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <array>
#include <limits>
#include <memory>
#include <optional>
#include <span>

extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/mem.h>
}

using namespace Qt::StringLiterals;

namespace reelhouse {

namespace {

constexpr qsizetype longestText = 500;
constexpr qint64 perMillisecond = AV_TIME_BASE / 1000;

// Containers of plain media files. Others name further files or addresses, such as playlists and image sequences.
constexpr char containers[] = "aac,ac3,aiff,amr,ape,asf,au,avi,caf,eac3,flac,flv,matroska,mov,mp3,mpeg,mpegts,ogg,"
			      "tta,w64,wav,wv";

// The open file that libavformat reads. Reads fail once the budget is used up or stopped is set, so a hostile file
// costs little time and memory.
class Input {
public:
	Input(QFile &file_, const std::atomic<bool> &stopped_) : file(file_), stopped(stopped_), size(file_.size()) {}

	static int read(void *data, uint8_t *buffer, int length)
	{
		return static_cast<Input *>(data)->readInto(buffer, length);
	}
	static int64_t seek(void *data, int64_t offset, int whence)
	{
		return static_cast<Input *>(data)->seekTo(offset, whence & ~AVSEEK_FORCE);
	}
	qint64 bytesRead() const { return most - budget; }
	static int isStopped(void *data) { return static_cast<Input *>(data)->stopped; }

private:
	int readInto(uint8_t *buffer, int length)
	{
		if (stopped)
			return AVERROR_EXIT;
		const qint64 got = file.read(reinterpret_cast<char *>(buffer), std::min<qint64>(length, budget));
		if (got <= 0)
			return AVERROR_EOF;
		budget -= got;
		return static_cast<int>(got);
	}

	int64_t seekTo(int64_t offset, int whence)
	{
		if (whence == AVSEEK_SIZE)
			return size;
		const qint64 base = whence == SEEK_CUR ? file.pos() : whence == SEEK_END ? size : 0;
		qint64 target = 0;
		if (qAddOverflow<qint64>(base, offset, &target) || target < 0 || target > size || !file.seek(target))
			return AVERROR(EINVAL);
		return target;
	}

	QFile &file;
	const std::atomic<bool> &stopped;
	const qint64 size;
	// In bytes; enough for a large cover picture or for the fragments of a film of many hours.
	static constexpr qint64 most = 16 << 20;
	qint64 budget = most;
};

struct FreeContext {
	void operator()(AVIOContext *context) const
	{
		av_freep(&context->buffer);
		avio_context_free(&context);
	}
	void operator()(AVFormatContext *context) const { avformat_close_input(&context); }
	void operator()(AVPacket *packet) const { av_packet_free(&packet); }
};
using InputContext = std::unique_ptr<AVIOContext, FreeContext>;
using FormatContext = std::unique_ptr<AVFormatContext, FreeContext>;

int refuseOpen(AVFormatContext *, AVIOContext **, const char *, int, AVDictionary **)
{
	return AVERROR(EPERM);
}

// Returns null for a file of no known kind. libavformat looks at the content first, and then at the name's ending.
FormatContext openFormat(AVIOContext *io, Input &input, const QString &ending)
{
	AVFormatContext *format = avformat_alloc_context();
	if (!format)
		return nullptr;
	format->pb = io;
	format->io_open = refuseOpen;
	format->interrupt_callback = {Input::isStopped, &input};
	format->format_whitelist = av_strdup(containers);
	const QByteArray name = "file." + ending.toUtf8();
	// On failure this frees the context.
	if (avformat_open_input(&format, name.constData(), nullptr, nullptr) < 0)
		return nullptr;
	return FormatContext(format);
}

std::span<AVStream *const> streamsOf(const AVFormatContext *format)
{
	return {format->streams, format->nb_streams};
}

// Returns the first sound of the file, or null.
AVStream *soundOf(const AVFormatContext *format)
{
	const auto streams = streamsOf(format);
	const auto sound = std::ranges::find_if(streams, [](const AVStream *stream) {
		return stream->codecpar->codec_type == AVMEDIA_TYPE_AUDIO;
	});
	return sound == streams.end() ? nullptr : *sound;
}

// Returns the length that the container tells, in AV_TIME_BASE; 0 when it tells none.
qint64 toldLength(const AVFormatContext *format)
{
	qint64 length = std::max<qint64>(format->duration, 0);
	if (length > 0)
		return length;
	for (const AVStream *stream : streamsOf(format)) {
		if (stream->duration > 0)
			length = std::max<qint64>(length,
						  av_rescale_q(stream->duration, stream->time_base, AV_TIME_BASE_Q));
	}
	return length;
}

// Returns the length of a packet, in AV_TIME_BASE; 0 when unknown. The parser of AAC does not tell it.
qint64 lengthOf(const AVPacket *packet, const AVStream *stream)
{
	constexpr std::array rates = {96000, 88200, 64000, 48000, 44100, 32000, 24000,
				      22050, 16000, 12000, 11025, 8000,  7350};
	if (packet->duration > 0)
		return av_rescale_q(packet->duration, stream->time_base, AV_TIME_BASE_Q);
	if (stream->codecpar->codec_id != AV_CODEC_ID_AAC || packet->size < 7 || packet->data[0] != 0xff)
		return 0;
	const size_t index = packet->data[2] >> 2 & 15;
	return index < rates.size() ? 1024 * qint64(AV_TIME_BASE) / rates.at(index) : 0;
}

// The times at which packets start and end, in AV_TIME_BASE.
struct Span {
	qint64 first = std::numeric_limits<qint64>::max();
	qint64 last = std::numeric_limits<qint64>::min();
	qint64 length() const { return first < last ? last - first : 0; }

	// Returns the end of the packet.
	qint64 add(qint64 start, qint64 duration)
	{
		// Times of a hostile file must not overflow.
		constexpr qint64 most = qint64(1) << 60;
		start = std::clamp(start, -most, most);
		const qint64 end = start + std::clamp<qint64>(duration, 0, most);
		first = std::min(first, start);
		last = std::max(last, end);
		return end;
	}
};

// Whether the packets have no times of their own: those of sound without a container, or in one that only counts them.
bool hasNoTimes(const AVFormatContext *format)
{
	return format->iformat->flags & AVFMT_GENERIC_INDEX || qstrcmp(format->iformat->name, "caf") == 0;
}

// Lets the pictures come beside the sound, which has its parser by now. They get none.
void addPictures(AVFormatContext *format)
{
	format->flags |= AVFMT_FLAG_NOPARSE;
	for (AVStream *stream : streamsOf(format)) {
		if (stream->codecpar->codec_type == AVMEDIA_TYPE_VIDEO)
			stream->discard = AVDISCARD_DEFAULT;
	}
}

// Reads packets until the file's position is end or the container tells the length; returns false at the end of the
// file. Does not decode.
bool readTimes(AVFormatContext *format, qint64 end, Span &span)
{
	// A hostile file may have any number of empty packets at one position.
	constexpr int mostPackets = 20'000;
	const std::unique_ptr<AVPacket, FreeContext> packet(av_packet_alloc());
	// A packet without a time follows the one before. Bare frames of sound have no times at all.
	std::optional<qint64> next;
	if (hasNoTimes(format))
		next = 0;
	std::optional<qint64> lastPicture; // the time at which it is decoded
	for (int i = 0; packet && i < mostPackets && av_read_frame(format, packet.get()) >= 0; i++) {
		const AVStream *stream = format->streams[packet->stream_index];
		const qint64 time = packet->pts == AV_NOPTS_VALUE ? packet->dts : packet->pts;
		qint64 duration = lengthOf(packet.get(), stream);
		// A picture without a length takes as long as the one before.
		if (stream->codecpar->codec_type == AVMEDIA_TYPE_VIDEO && packet->dts != AV_NOPTS_VALUE) {
			const qint64 decoded = av_rescale_q(packet->dts, stream->time_base, AV_TIME_BASE_Q);
			if (duration == 0 && lastPicture)
				qSubOverflow(decoded, *lastPicture, &duration);
			lastPicture = decoded;
		}
		if (time != AV_NOPTS_VALUE)
			next = av_rescale_q(time, stream->time_base, AV_TIME_BASE_Q);
		if (next)
			next = span.add(*next, duration);
		av_packet_unref(packet.get());
		if (avio_tell(format->pb) >= end || toldLength(format) > 0)
			return true;
	}
	return false;
}

// Returns the length by the times at the file's start and end, in AV_TIME_BASE; 0 when unknown.
qint64 probedLength(AVFormatContext *format)
{
	constexpr qint64 part = 1 << 20;
	const qint64 size = avio_size(format->pb);
	const qint64 start = avio_tell(format->pb);
	const AVStream *sound = soundOf(format);
	for (AVStream *stream : streamsOf(format))
		stream->discard = sound && stream != sound ? AVDISCARD_ALL : AVDISCARD_DEFAULT;
	// Sound is parsed for the lengths of its frames. A parser of pictures would complain in the middle of a file. The
	// pictures may end last.
	if (!sound)
		format->flags |= AVFMT_FLAG_NOPARSE | AVFMT_FLAG_NOFILLIN;
	Span span;
	const bool hasMore = readTimes(format, start + part, span);
	// An FLV file tells its length with its first packet.
	if (const qint64 told = toldLength(format); told > 0)
		return told;
	if (hasNoTimes(format))
		return hasMore ? av_rescale(span.length(), size - start, avio_tell(format->pb) - start) : span.length();
	if (av_seek_frame(format, -1, std::max(size - part, start), AVSEEK_FLAG_BYTE) < 0)
		return hasMore ? 0 : span.length();
	if (sound && readTimes(format, avio_tell(format->pb) + 1, span))
		addPictures(format);
	readTimes(format, std::numeric_limits<qint64>::max(), span);
	return span.length();
}

QString oneLine(const char *text)
{
	const QByteArrayView bytes(text);
	if (!bytes.isValidUtf8())
		return {};
	QString line = QString::fromUtf8(bytes);
	std::ranges::replace_if(line, [](QChar c) { return c.category() == QChar::Other_Control; }, u' ');
	line = line.simplified();
	if (line.size() <= longestText)
		return line;
	return line.first(longestText - (line[longestText - 1].isHighSurrogate() ? 1 : 0));
}

// Returns the text under the key from the container. Ogg files keep theirs with the sound; elsewhere a sound's title is
// that of the sound alone, such as its language or what OBS calls it.
QString tagIn(const AVFormatContext *format, const char *key)
{
	const AVDictionaryEntry *entry = av_dict_get(format->metadata, key, nullptr, 0);
	const AVStream *sound = qstrcmp(format->iformat->name, "ogg") == 0 ? soundOf(format) : nullptr;
	if (!entry && sound)
		entry = av_dict_get(sound->metadata, key, nullptr, 0);
	return entry ? oneLine(entry->value) : QString();
}

Tags tagsOf(AVFormatContext *format)
{
	Tags tags;
	qint64 length = toldLength(format);
	if (length == 0)
		length = probedLength(format);
	if (length >= perMillisecond)
		tags.durationMs = length / perMillisecond;
	tags.title = tagIn(format, "title");
	tags.artist = tagIn(format, "artist");
	if (tags.artist.isEmpty())
		tags.artist = tagIn(format, "album_artist");
	return tags;
}

} // namespace

Tags readFile(const QString &path, const std::atomic<bool> &stopped, qint64 *bytes)
{
	// Open only plain files: opening a pipe or a device may block for ever and has effects.
	const QFileInfo info(path);
	QFile file(path);
	if (path.isEmpty() || !info.isFile() || !file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
		return {};
	Input input(file, stopped);
	constexpr int bufferSize = 32 * 1024;
	auto *buffer = static_cast<uint8_t *>(av_malloc(bufferSize));
	const InputContext io(avio_alloc_context(buffer, bufferSize, 0, &input, Input::read, nullptr, Input::seek));
	const FormatContext format = io ? openFormat(io.get(), input, info.suffix()) : nullptr;
	Tags tags = format ? tagsOf(format.get()) : Tags();
	if (bytes)
		*bytes += input.bytesRead();
	return tags;
}

} // namespace reelhouse

#endif
