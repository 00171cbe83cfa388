/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "HeldClock.hpp"
#include "Host.hpp"
#include "SlowDisk.hpp"

#include <QProcess>
#include <QSignalSpy>

#include <future>
#include <random>

#include <sys/stat.h>

#include "media/readFile.hpp"
#include "media/tags.hpp"

using namespace reelhouse;
using namespace Qt::StringLiterals;

// Of real files, made by ffmpeg.
class MediaTags : public Host {
protected:
	// One second, with a title and an artist.
	QByteArray media(const QString &ending, const QString &input = u"sine=d=1"_s, const QString &format = {}) const
	{
		QFile file(folder.filePath(u"made."_s + ending));
		QStringList words =
			u"-y -v error -f lavfi -i %1 -metadata album_artist=All -metadata artist=Ärtist -metadata"_s
				.arg(input)
				.split(u' ');
		words << u"title="_s + title;
		if (!format.isEmpty())
			words << u"-f"_s << format.split(u' ');
		EXPECT_EQ(QProcess::execute(u"ffmpeg"_s, words << file.fileName()), 0);
		return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
	}
	static Tags readTags(const QString &path) { return readFile(path, false); }
	QString title = u"Größe – 日本 😀"_s;
};

TEST_F(MediaTags, AreReadWhateverTheFileIsCalled)
{
	const auto check = [this](const QByteArray &content, const QString &ending, const QString &expected) {
		for (const QString &name : {u"a."_s + ending, u"ä b.mp3"_s, u"a.m4a"_s, u"none"_s}) {
			const Tags tags = readTags(makeFile(name, content));
			EXPECT_EQ(tags.artist + tags.title, expected) << ending.toStdString();
			EXPECT_NEAR(tags.durationMs, 1000, 60) << ending.toStdString();
		}
	};
	const QString film = u"testsrc=s=32x32:d=1"_s, fragments = u"mov -movflags frag_keyframe+empty_moov"_s;
	for (const QString &ending : u"mp3 flac ogg opus wav m4a wma"_s.split(u' '))
		check(media(ending), ending, u"Ärtist"_s + title);
	for (const QString &ending : u"mp4 mov mkv webm avi flv"_s.split(u' '))
		check(media(ending, film), ending, u"Ärtist"_s + title);
	check(media(u"mp4"_s, film, fragments), u"mp4"_s, u"Ärtist"_s + title);
	const QString named =
		u"matroska -metadata title= -metadata artist= -metadata album_artist= -metadata:s:a title=Sound"_s;
	check(media(u"mkv"_s, u"sine=d=1"_s, named), u"mkv"_s, {});
	check(media(u"aac"_s), u"aac"_s, {});
	check(media(u"ts"_s, film), u"ts"_s, {});
	const auto lengthOf = [this](const QByteArray &content) {
		return static_cast<double>(readTags(makeFile(u"long"_s, content)).durationMs);
	};
	for (const QString &form : u"mpegts;mpegts -c:v libx264 -c:a aac;mpeg"_s.split(u';'))
		for (const QString &one :
		     u"testsrc=s=320x180:d=3[out0];sine=d=1[out1]|testsrc=s=320x180:d=1[out0];sine=d=3[out1]|"
		     "testsrc=s=320x180:d=3"_s.split(u'|'))
			EXPECT_NEAR(lengthOf(media(u"ts"_s, one, form)), 3000, 50) << (form + one).toStdString();
	for (const QString &ending : u"aiff au caf tta wv w64 ac3 eac3"_s.split(u' '))
		EXPECT_NEAR(lengthOf(media(ending, u"sine=d=20"_s)), 20000, 100) << ending.toStdString();
	for (int rate : {96000, 88200, 64000, 48000, 44100, 32000, 24000, 22050, 16000, 12000, 11025, 8000, 7350})
		EXPECT_NEAR(lengthOf(media(u"aac"_s, u"sine=d=10:r=%1"_s.arg(rate))), 10000, 400) << rate;
	const QByteArray sound = media(u"aac"_s);
	EXPECT_NEAR(lengthOf(sound.repeated(1000)) / lengthOf(sound), 1000, 10);
	EXPECT_EQ(readTags(makeFile(u"album"_s, media(u"flac"_s, u"sine=d=1"_s,
						      u"flac -metadata artist= -metadata album_artist=Ann"_s)))
			  .artist,
		  u"Ann"_s);
	makeFile(u"text.mp3"_s, "no media");
	ASSERT_EQ(mkfifo(folder.filePath(u"pipe.mp3"_s).toUtf8().constData(), 0600), 0);
	makeFile(u"list.mp3"_s, ";FFMETADATA1\ntitle=no media either\n");
	for (const QString &name : {u"missing.mp3"_s, u"text.mp3"_s, u"list.mp3"_s, u"pipe.mp3"_s, u"."_s})
		EXPECT_EQ(readTags(folder.filePath(name)), Tags()) << name.toStdString();
}

TEST_F(MediaTags, AreOneLineOfBoundedLength)
{
	const QString most(499, u'x');
	for (const auto &[given, shown] :
	     {std::pair(u" A\n B\x02 "_s, u"A B"_s), {most + u"yz"_s, most + u'y'}, {most + u"😀"_s, most}}) {
		title = given;
		EXPECT_EQ(readTags(makeFile(u"a"_s, media(u"flac"_s))).title, shown);
	}
	title = u"ö"_s;
	EXPECT_EQ(readTags(makeFile(u"a"_s, media(u"flac"_s).replace("=ö", "=\xC3-"))).title, QString());
	qint64 bytes = 0;
	ASSERT_TRUE(QFile(makeFile(u"endless.mp3"_s, media(u"mp3"_s))).resize(qint64(1) << 30));
	readFile(folder.filePath(u"endless.mp3"_s), false, &bytes);
	EXPECT_TRUE(bytes > 0 && bytes <= 16 << 20) << bytes;
}

TEST_F(MediaTags, OfCutAndHostileFilesAreTheRightOnesOrNone)
{
	std::mt19937 random(1);
	for (const QString &ending : u"mp3 flac ogg wav m4a wma"_s.split(u' ')) {
		const QByteArray whole = media(ending);
		for (qsizetype i = 0; i < 80; i++) {
			// What is read stands at the ends.
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
		EXPECT_LE(readTags(makeFile(u"hostile.mp3"_s, content)).title.size(), 500);
}

TEST_F(MediaTags, AreToldWhenTheyBecomeKnownAndWhenTheyChange)
{
	TagReader reader(nullptr);
	QSignalSpy told(&reader, &TagReader::tagsRead), all(&reader, &TagReader::tagsRead);
	QSignalSpy changed(&reader, &TagReader::filesChanged);
	// Asks once: a further look at the file would see how the test writes it anew.
	const auto next = [&](const QString &path) {
		told.clear();
		reader.cached(path);
		while (told.isEmpty())
			QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
		return reader.known(path);
	};
	QByteArray content = media(u"flac"_s);
	const QString path = makeFile(u"a.flac"_s, content);
	EXPECT_EQ(reader.known(path), Tags());
	EXPECT_EQ(next(path).title, title);
	QFile file(makeFile(u"a.flac"_s, content.replace("Gr", "gr")));
	ASSERT_TRUE(file.open(QIODevice::Append) &&
		    file.setFileTime(QDateTime::currentDateTime().addSecs(9), QFile::FileModificationTime));
	title[0] = u'g';
	EXPECT_EQ(next(path).title, title) << "of a file that is as long as before";
	makeFile(u"a.flac"_s, "no media any more");
	EXPECT_EQ(reader.cached(path)->title, title) << "until the file was looked at";
	EXPECT_EQ(next(path), Tags());
	reader.cached(path);
	for (int i = 0; i < 20; i++)
		EXPECT_EQ(next(folder.filePath(QString::number(i))), Tags());
	EXPECT_EQ(all.size(), 3 + 20) << "a file that has not changed is not told of";
	EXPECT_EQ(changed.size(), 3);
	reader.cached(makeFile(u"0"_s, "no media either"));
	EXPECT_TRUE(waitFor([&] { return changed.size() == 4; })) << "of another size, with the same tags";
	EXPECT_EQ(all.size(), 3 + 20) << "which need not be shown anew";
	for (int i = 0; i < 300; i++)
		reader.cached(folder.filePath(u"waits %1"_s.arg(i))); // while the reader ends
}

TEST_F(MediaTags, AreGivenToOtherThreadsWithoutADiskThatHangs)
{
	TagReader reader(nullptr);
	const QByteArray content = media(u"flac"_s);
	const auto asked = [&](const QString &name) {
		return std::async(std::launch::async, reader.answersFor({makeFile(name, content), u"http://h/U"_s}));
	};
	const TagReader::Answers nothing{std::nullopt, Tags()};
	std::future<TagReader::Answers> waits;
	for (const QString &name : {u"hangs 0.flac"_s, u"hangs 1.flac"_s}) {
		SlowDisk::hang();
		waits = asked(name);
		SlowDisk::awaitQuestion();
		SlowDisk::answer();
		EXPECT_EQ(waits.get().value(0, std::nullopt).value_or(Tags()).title, title);
	}
	SlowDisk::hang();
	for (int i = 0; i < 100; i++)
		EXPECT_EQ(asked(u"hangs %1.flac"_s.arg(i + 2)).get(), nothing) << "only the first one waits";
	SlowDisk::answer();
	while (!asked(u"hangs 2.flac"_s).get().constFirst())
		QCoreApplication::processEvents();
	SlowDisk::hang();
	const auto answers = reader.answersFor({makeFile(u"hangs at the close.flac"_s, content), u"http://h/U"_s});
	auto waited = std::async(std::launch::async, [&] {
		HeldClock::hold();
		const qint64 start = HeldClock::nowMs();
		EXPECT_EQ(answers(), nothing);
		return HeldClock::nowMs() - start;
	});
	SlowDisk::awaitQuestion();
	reader.endWaits();
	EXPECT_EQ(waited.get(), 0) << "no wait was in vain";
	SlowDisk::answer();
}

TEST_F(MediaTags, OfWhatWasAskedForLastComeFirst)
{
	TagReader reader(nullptr);
	QSignalSpy told(&reader, &TagReader::tagsRead);
	const auto path = [this](int number) {
		return folder.filePath(QString::number(number));
	};
	SlowDisk::hang();
	reader.cached(makeFile(u"hangs"_s));
	SlowDisk::awaitQuestion();
	for (int i = 0; i <= 300; i++)
		reader.cached(path(i));
	SlowDisk::answer();
	ASSERT_TRUE(waitFor([&] { return told.size() == 301; }));
	EXPECT_EQ(told[1][0], path(300));
	reader.cached(path(0));
	EXPECT_TRUE(waitFor([&] { return told.size() == 302; })) << "one that gave way may be asked for again";
	SlowDisk::hang();
	reader.cached(makeFile(u"hangs too"_s));
	SlowDisk::awaitQuestion();
	passTime(1'000'000);
	reader.cached(path(301));
	EXPECT_TRUE(waitFor([&] { return told.size() == 303; })) << "another thread reads while a disk hangs";
	SlowDisk::answer();
}

TEST_F(MediaTags, LengthsAreReadOfTheFilesOfTheLastList)
{
	TagReader reader(nullptr);
	QHash<QString, qint64> sizes;
	qsizetype changed = 0;
	QObject::connect(&reader, &TagReader::filesChanged, [&](const QHash<QString, qint64> &now) {
		sizes.insert(now);
		changed += now.size();
	});
	const auto make = [this](const QString &name, int seconds) {
		const QByteArray content = media(u"flac"_s, u"sine=d=%1"_s.arg(seconds));
		return std::pair<QString, qint64>(makeFile(name, content), content.size());
	};
	const auto known = [&](qsizetype count) {
		EXPECT_TRUE(waitFor([&] {
			reader.tellMeasured();
			return changed == count;
		}));
		QStringList all;
		for (const auto &[path, ms] : reader.lengths().asKeyValueRange())
			all += u"%1 %2"_s.arg(path.last(1)).arg(ms);
		all.sort();
		return all.join(u", "_s);
	};
	const auto a = make(u"a"_s, 1), b = make(u"b"_s, 1), c = make(u"c"_s, 1);
	reader.readLengths({a, b});
	EXPECT_EQ(known(2), u"a 1000, b 1000"_s);
	EXPECT_EQ(sizes[a.first], a.second);
	SlowDisk::hang();
	reader.readLengths({make(u"a hangs"_s, 1), c});
	SlowDisk::awaitQuestion();
	reader.readLengths({a, make(u"b"_s, 2)});
	SlowDisk::answer();
	EXPECT_EQ(known(4), u"a 1000, b 2000, s 1000"_s);
	reader.readLengths({{a.first, -1}, c});
	ASSERT_TRUE(waitFor([&] { return reader.lengths().contains(c.first); }));
	reader.cached(makeFile(u"c"_s, "shorter"));
	ASSERT_TRUE(waitFor([&] { return sizes.value(c.first) == 7; }));
	EXPECT_EQ(known(5), u"a 1000, b 2000, c -1, s 1000"_s);
	EXPECT_EQ(sizes[c.first], 7) << "what was seen first is not told last";
	ASSERT_TRUE(QFile(makeFile(u"long"_s, media(u"mp3"_s))).resize(qint64(1) << 30));
	reader.readLengths({{folder.filePath(u"long"_s), 0}, make(u"d"_s, 1)});
	ASSERT_TRUE(waitFor([&] { return reader.lengths().contains(folder.filePath(u"long"_s)); }));
	reader.cached(makeFile(u"e"_s));
	ASSERT_TRUE(waitFor([&] { return reader.lengths().contains(folder.filePath(u"e"_s)); }));
	EXPECT_FALSE(reader.lengths().contains(folder.filePath(u"d"_s))) << "so much was read of the other one";
}
