/* SPDX-License-Identifier: GPL-2.0-or-later */
#include <QFile>
#include <QFileDialog>
#include <QLabel>
#include <QMenu>

#include "Host.hpp"

#include "media/PlaylistFile.hpp"

using namespace reelhouse;
using namespace Qt::StringLiterals;

class Files : public Host {
protected:
	QString at(const QString &name) const { return folder.filePath(name); }
	void pickFile(const char *command, const QString &file, const std::function<void()> &meanwhile = [] {})
	{
		action(command)->trigger();
		QPointer<QFileDialog> dialog = frontend->dock->findChild<QFileDialog *>();
		ASSERT_TRUE(dialog);
		meanwhile();
		dialog->selectFile(file);
		QMetaObject::invokeMethod(dialog.data(), "accept");
		EXPECT_TRUE(waitFor([&dialog] { return dialog.isNull(); }));
	}
	// Returns once the poll has run at least twice since: each run that finds the source describes the time anew.
	void waitForPolls()
	{
		auto *time = child<QWidget>("playbackTime");
		for (int i = 0; i < 2; i++) {
			time->setAccessibleDescription(QString());
			ASSERT_TRUE(waitFor([time] { return !time->accessibleDescription().isEmpty(); }));
		}
	}
	void report(obs_source_t *source, obs_media_state state)
	{
		media(source) = {state, 500, 4000};
		waitForPolls();
	}
	void playThrough(obs_source_t *source, int row)
	{
		play(row);
		sendStopped(source);
		report(source, OBS_MEDIA_STATE_PLAYING);
	}
	OBSSource makeText(const char *name, const char *settings)
	{
		OBSDataAutoRelease data = obs_data_create_from_json(settings);
		OBSSourceAutoRelease text = obs_source_create("text_ft2_source_v2", name, data, nullptr);
		return text.Get();
	}
	QStringList offeredTexts()
	{
		Q_EMIT child<QMenu>("toolsMenu")->aboutToShow();
		QStringList names;
		for (const QAction *entry : child<QMenu>("showCurrentTrackIn")->actions())
			names += (entry->isChecked() ? u"*"_s : u""_s) + entry->text();
		return names;
	}
	void showIn(int entry)
	{
		offeredTexts();
		child<QMenu>("showCurrentTrackIn")->actions()[entry]->trigger();
	}
};

TEST_F(Files, PlaylistsAreRead)
{
	makeFile(u"a b.mp3"_s), makeFile(u"50%25.mp3"_s), makeFile(u"é.mp3"_s);
	const auto xspf = [](const QByteArray &tracks) {
		return "<?xml version='1.0'?><playlist xmlns='http://xspf.org/ns/0/'><trackList>" + tracks +
		       "</trackList></playlist>";
	};
	const struct {
		const char *kind;
		QString name;
		QByteArray content;
		QStringList entries; // relative to the folder; none: refused or empty
	} rows[] = {
		{"both line ends, comments, blanks",
		 u"1.m3u"_s,
		 "#EXTM3U\r\n#EXTINF:5,A\r\n a b.mp3 \r\n\n\n/abs.mp3\nhttp://h/x?y#z\n",
		 {at(u"a b.mp3"_s), u"/abs.mp3"_s, u"http://h/x?y#z"_s}},
		{"UTF-8 with its mark", u"2.m3u"_s, "\xEF\xBB\xBF\xC3\xA9.mp3", {at(u"é.mp3"_s)}},
		{"Latin-1", u"3.m3u"_s, "\xE9.mp3", {at(u"é.mp3"_s)}},
		{"no Latin-1 in M3U8", u"4.m3u8"_s, "\xE9.mp3", {}},
		{"file URLs",
		 u"5.m3u8"_s,
		 "file:///x%20y.mp3\nFILE://localhost/z\nfile://server/share/a",
		 {u"/x y.mp3"_s, u"/z"_s, u"//server/share/a"_s}},
		{"escaped as VLC does, or a name like that",
		 u"6.m3u"_s,
		 "a%20b.mp3\n50%25.mp3\nno%20such",
		 {at(u"a b.mp3"_s), at(u"50%25.mp3"_s), at(u"no%20such"_s)}},
		{"from Windows", u"7.m3u"_s, ".\\a b.mp3\r\nC:\\b.mp3", {at(u"a b.mp3"_s), u"C:\\b.mp3"_s}},
		{"from the folder above", u"8.m3u"_s, "../x/./y.mp3", {QDir::cleanPath(at(u"../x/y.mp3"_s))}},
		{"an HLS manifest", u"9.m3u8"_s, "#EXTM3U\n#EXT-X-TARGETDURATION:4\n1.ts\n2.ts", {at(u"9.m3u8"_s)}},
		{"PLS by number",
		 u"1.pls"_s,
		 "[playlist]\r\nFile10=c\r\nTitle2=t\nfile2= http://h/\nFile1=a=b\nFileX=no\n",
		 {at(u"a=b"_s), u"http://h/"_s, at(u"c"_s)}},
		{"XSPF",
		 u"1.xspf"_s,
		 xspf("<track><title>t</title><location> a%20b%3F&amp;.mp3 </location><location>2nd</location></track>"
		      "<track/><track><location>rtsp://h/%20</location><extension><location>no</location></extension>"
		      "</track><track><location>file:///%C3%A9</location></track>"),
		 {at(u"a b?&.mp3"_s), u"rtsp://h/%20"_s, u"/é"_s}},
		{"XSPF that ends early", u"2.xspf"_s, xspf("<track><location>a</location></track>").chopped(9), {}},
		{"an entity that grows",
		 u"3.xspf"_s,
		 "<!DOCTYPE p [<!ENTITY a 'aaaaaaaaaa'><!ENTITY b '&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;'>"
		 "<!ENTITY c '&b;&b;&b;&b;&b;&b;&b;&b;&b;&b;'><!ENTITY d '&c;&c;&c;&c;&c;&c;&c;&c;&c;&c;'>]>" +
			 xspf("<track><location>&d;</location></track>").sliced(21),
		 {}},
		{"another kind of XML", u"4.xspf"_s, "<html><track><location>a</location></track></html>", {}},
		{"a film", u"10.m3u"_s, QByteArray("a.mp3\n\0b", 8), {}},
		{"no entries", u"11.m3u"_s, "#EXTM3U\n", {}},
		{"a name with a null character", u"12.m3u"_s, "file:///a%00b\nc", {at(u"c"_s)}},
	};
	for (const auto &row : rows)
		EXPECT_EQ(readPlaylist(makeFile(row.name, row.content)).paths, row.entries) << row.kind;
	EXPECT_FALSE(readPlaylist(at(u"absent.m3u"_s)).error.isEmpty());
	EXPECT_FALSE(readPlaylist(folder.path()).error.isEmpty());
}

// Whatever names a queue holds, both formats give them back, and those in the playlist's folder move with it.
TEST_F(Files, PlaylistsComeBack)
{
	const QList<QString> names = {u"plain.mp3"_s, u"two  spaces .mp3"_s, u"#1.mp3"_s,      u"a?b&<c>\"'.mp3"_s,
				      u"50%25.mp3"_s, u"100%.mp3"_s,         u"back\\slash"_s, u" lead"_s,
				      u"line\nend"_s, u"a:b.mp3"_s,          u"C:/x"_s,        u"sub/🎵 é ש.mp3"_s,
				      u"x:/y"_s,      u"ctl\x01"_s};
	QList<PlaylistEntry> entries = {{u"http://h/ü x?y=%20#z"_s, u"A\nB\x02"_s, 61499},
					{u"rtmp://h/a\nb"_s, {}, 0},
					{u"/else/where.mp3"_s, u"</title>"_s}};
	QList<QString> wanted = {entries[0].path, u"rtmp://h/a%0Ab"_s, entries[2].path};
	for (const QString &name : names) {
		entries.append({at(name), name});
		wanted.append(QDir::cleanPath(at(name)));
	}
	for (const QString &name : {u"out.m3u8"_s, u"out.xspf"_s}) {
		ASSERT_EQ(writePlaylist(at(name), entries), QString());
		const auto [paths, error] = readPlaylist(at(name));
		EXPECT_EQ(error, QString());
		EXPECT_EQ(paths, wanted) << name.toStdString();
		EXPECT_FALSE(writePlaylist(at(u"absent/"_s + name), entries).isEmpty());
	}
	QFile file(at(u"out.m3u8"_s));
	ASSERT_TRUE(file.open(QIODevice::ReadOnly));
	EXPECT_TRUE(file.readAll().startsWith("#EXTM3U\n#EXTINF:61,A B\nhttp://h/ü x?y=%20#z\n#EXTINF:0,\n"
					      "rtmp://h/a%0Ab\n#EXTINF:-1,</title>\n/else/where.mp3\n"
					      "#EXTINF:-1,plain.mp3\nplain.mp3\n"));
}

TEST_F(Files, ThePlaylistFilesOfTheToolsMenu)
{
	const OBSSource source = makeSource(u"S"_s, {u"http://h/a"_s}), other = makeSource(u"O"_s, {});
	show(source);
	ASSERT_TRUE(waitFor([this] { return frontend->saves == 1; }));
	const QStringList all = {u"http://h/a"_s, at(u"b"_s), at(u"c"_s)};
	pickFile("importPlaylist", makeFile(u"in.m3u"_s, "b\nc"));
	EXPECT_EQ(valuesIn(recordOf(source), "tracks"), all);
	ASSERT_TRUE(waitFor([this] { return frontend->saves == 2; }));
	pickFile("importPlaylist", makeFile(u"empty.pls"_s, "[playlist]"));
	EXPECT_TRUE(child<QLabel>("message")->text().contains(u"empty.pls has no entries"_s));
	pickFile("exportPlaylist", at(u"out"_s));
	EXPECT_EQ(readPlaylist(at(u"out.m3u8"_s)).paths, all);
	EXPECT_FALSE(child<QLabel>("message")->isVisible());
	pickFile("importPlaylist", at(u"in.m3u"_s), [&] { choose(other); });
	EXPECT_EQ(list()->count(), 0);
	EXPECT_FALSE(action("exportPlaylist")->isEnabled());
	choose(source);
	EXPECT_EQ(list()->count(), 3);
	EXPECT_EQ(frontend->toolsMenu.children().size(), 1);
	action("importPlaylist")->trigger();
	endObs(); // under an open dialog
	EXPECT_TRUE(frontend->toolsMenu.children().isEmpty());
}

TEST_F(Files, TheCurrentTrackStandsInATextSource)
{
	obs_source_info info = {};
	info.id = "text_ft2_source";
	info.version = 2;
	info.type = OBS_SOURCE_TYPE_INPUT;
	info.get_name = [](void *) {
		return "Text";
	};
	info.create = [](obs_data_t *, obs_source_t *source) -> void * {
		return source;
	};
	info.destroy = [](void *) {
	};
	obs_register_source(&info);
	const OBSSource text = makeText("T & U", R"({"text": "old", "outline": true})");
	const OBSSource shownFile = makeText("F", R"({"from_file": true, "text": "old"})");
	const OBSSource source = makeSource(u"S"_s, {makeFile(u"One.song.mp3"_s), u"http://h/two"_s});
	const OBSSource other = makeSource(u"O"_s, {});
	show(source);
	EXPECT_EQ(offeredTexts(), (QStringList{u"*None"_s, u"T && U"_s}));
	const struct {
		const char *step;
		std::function<void()> act;
		QString text;
	} steps[] = {
		{"not asked for", [&] { playThrough(source, 0); }, u"old"_s},
		{"chosen", [&] { showIn(1); }, u"One.song"_s},
		{"paused", [&] { report(source, OBS_MEDIA_STATE_PAUSED); }, u"One.song"_s},
		{"being switched", [&] { play(1); }, u"One.song"_s},
		{"the next plays",
		 [&] {
			 sendStopped(source);
			 report(source, OBS_MEDIA_STATE_PLAYING);
		 },
		 u"two"_s},
		{"an old text put back",
		 [&] {
			 obs_source_update(text, OBSDataAutoRelease(obs_data_create_from_json(R"({"text": "old"})")));
			 waitForPolls();
		 },
		 u"two"_s},
		{"it has ended", [&] { report(source, OBS_MEDIA_STATE_ENDED); }, u""_s},
		{"the next one again", [&] { playThrough(source, 1); }, u"two"_s},
		{"another source", [&] { choose(other); }, u""_s},
		{"the first again", [&] { choose(source); }, u"two"_s},
		{"another collection", [&] { frontend->send(OBS_FRONTEND_EVENT_SCENE_COLLECTION_CHANGING); }, u""_s},
		{"this one again", [&] { frontend->send(OBS_FRONTEND_EVENT_SCENE_COLLECTION_CHANGED); }, u"two"_s},
		{"none", [&] { showIn(0); }, u""_s},
	};
	for (const auto &[step, act, wanted] : steps) {
		act();
		EXPECT_EQ(settingsOf(text), (QJsonObject{{u"text"_s, wanted}, {u"outline"_s, true}})) << step;
	}
	EXPECT_EQ(settingsOf(shownFile)["text"_L1], u"old"_s);
	showIn(1);
	EXPECT_EQ(offeredTexts()[1], u"*T && U"_s);
	obs_source_remove(text);
	waitForPolls();
	EXPECT_EQ(offeredTexts(), QStringList{u"*None"_s});
}
