/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "Host.hpp"

#include <QProcess>
#include <QSignalSpy>

#include <random>

#include <sys/stat.h>

#include "media/tags.hpp"

using namespace reelhouse;
using namespace Qt::StringLiterals;

// Of real files, made by ffmpeg.
class MediaTags : public Host {
protected:
	// One second, with a title and an artist.
	QByteArray media(const QString &ending, const QString &input = u"sine=d=1"_s) const
	{
		QFile file(folder.filePath(u"made."_s + ending));
		QStringList words =
			u"-v error -f lavfi -i %1 -metadata artist=Ärtist -metadata"_s.arg(input).split(u' ');
		EXPECT_EQ(QProcess::execute(u"ffmpeg"_s, words << u"title="_s + title << file.fileName()), 0);
		return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
	}
	const QString title = u"Größe – 日本 😀"_s;
};

TEST_F(MediaTags, AreReadWhateverTheFileIsCalled)
{
	for (const QString &ending : u"mp3 flac ogg opus wav m4a wma mp4"_s.split(u' ')) {
		const QByteArray content = media(ending, ending == u"mp4" ? u"testsrc=s=32x32:d=1"_s : u"sine=d=1"_s);
		for (const QString &name : {u"a."_s + ending, u"ä b.mp3"_s, u"a.m4a"_s, u"none"_s}) {
			const Tags tags = readTags(makeFile(name, content));
			EXPECT_EQ(artistAndTitle(name, tags), u"Ärtist – "_s + title) << ending.toStdString();
			EXPECT_NEAR(tags.durationMs, 1000, 60) << ending.toStdString();
		}
	}
	// Zeros are put between the bytes that a player could take for the start of its sound.
	const QByteArray stuffed("ID3\3\0\x80\0\0\0\x12TIT2\0\0\0\7\0\0\1\xff\0\376a\0b\0", 28);
	EXPECT_EQ(readTags(makeFile(u"stuffed.mp3"_s, stuffed)).title, u"ab"_s);
	makeFile(u"text.mp3"_s, "no media");
	ASSERT_EQ(mkfifo(folder.filePath(u"pipe.mp3"_s).toUtf8().constData(), 0600), 0);
	for (const QString &name : {u"missing.mp3"_s, u"text.mp3"_s, u"pipe.mp3"_s, u"."_s})
		EXPECT_EQ(readTags(folder.filePath(name)), Tags()) << name.toStdString();
}

TEST_F(MediaTags, OfCutAndHostileFilesAreTheRightOnesOrNone)
{
	std::mt19937 random(1);
	for (const QString &ending : u"mp3 flac ogg wav m4a wma"_s.split(u' ')) {
		const QByteArray whole = media(ending);
		for (qsizetype i = 0; i < 80; i++) {
			// What is read stands at the ends. TagLib takes a frame for whole that lacks up to ten bytes.
			const qsizetype size = i < 60 ? i * 5 : whole.size() - (i - 60) * 20;
			const QString found = readTags(makeFile(u"cut."_s + ending, whole.first(size))).title;
			EXPECT_TRUE(found.isEmpty() || found == title) << ending.toStdString() << ' ' << size;
			QByteArray spoilt = whole;
			for (const qsizetype range : {800, 800, 800, 800, 5000})
				spoilt[static_cast<qsizetype>(random()) % range] = static_cast<char>(random());
			readTags(makeFile(u"spoilt."_s + ending, spoilt));
		}
	}
	// Each atom and frame is in the one before; the title is a thousand times as large as its file.
	const auto number = [](qsizetype n) {
		return QByteArray::fromHex(u"%1"_s.arg(n, 8, 16, QChar(u'0')).toLatin1());
	};
	const QByteArray tag("ID3\3\0\0\x7f\x7f\x7f\x7f", 10), flags("\0\x80", 2),
		packed = qCompress(QByteArray(1 << 24, 'x'));
	QByteArray atoms = number(16) + "ftypisom" + number(0), chapters = tag;
	for (int left = 100'000; left > 0; left--) {
		atoms += number(left * 8) + "moov";
		chapters += "CHAP" + number(left * 28 - 10) + QByteArray("\0\0a", 3) + QByteArray(17, '\0');
	}
	for (const QByteArray &content : {tag + "TIT2" + number(packed.size()) + flags + packed, atoms, chapters})
		EXPECT_EQ(readTags(makeFile(u"hostile.mp3"_s, content)).title, QString());
}

TEST_F(MediaTags, AreToldWhenTheyBecomeKnownAndWhenTheyChange)
{
	TagReader reader(nullptr);
	QSignalSpy told(&reader, &TagReader::tagsRead), all(&reader, &TagReader::tagsRead);
	const auto next = [&](const QString &path) {
		for (told.clear(); told.isEmpty(); QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents))
			reader.cached(path);
		return reader.cached(path);
	};
	const QString path = makeFile(u"a.flac"_s, media(u"flac"_s));
	EXPECT_EQ(reader.cached(path), std::nullopt);
	EXPECT_EQ(next(path)->title, title);
	makeFile(u"a.flac"_s, "no media any more");
	EXPECT_EQ(reader.cached(path)->title, title) << "until the file was looked at";
	EXPECT_EQ(next(path), Tags());
	for (int i = 0; i < 20; i++)
		EXPECT_EQ(next(folder.filePath(QString::number(i))), Tags());
	EXPECT_EQ(all.size(), 2 + 20) << "a file that has not changed is not told of";
	for (int i = 0; i < 300; i++)
		reader.cached(folder.filePath(u"waits %1"_s.arg(i))); // while the reader ends
}
