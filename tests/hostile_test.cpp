/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "Host.hpp"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QLabel>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <random>

#include <sys/fsuid.h>
#include <sys/resource.h>
#include <util/platform.h>

// Records and settings files as no dock has written them, generated.

using namespace Qt::StringLiterals;

namespace {

constexpr char recordKey[] = "OBS-Reelhouse";
constexpr char replacedKey[] = "OBS-Reelhouse-replaced";

class Generator {
public:
	int pick(int count) { return static_cast<int>(random() % static_cast<unsigned>(count)); }
	bool oneIn(int count) { return pick(count) == 0; }
	template <typename T, size_t n> const T &pickFrom(const T (&some)[n]) { return some[pick(n)]; }

	// Puts a record there that a dock might have written, with up to three things wrong in it; or no record at all.
	void putRecord(obs_data_t *settings, const char *key, const QStringList &observed)
	{
		if (oneIn(30))
			return putAnything(settings, key, 0);
		OBSDataAutoRelease record = obs_data_create();
		obs_data_set_int(record, "version", 1);
		setTracks(record, oneIn(4000) ? 100'000 : pick(4));
		OBSDataArrayAutoRelease paths = obs_data_array_create();
		for (const QString &path : observed)
			pushItem(paths, path, {});
		if (oneIn(4))
			pushItem(paths, {}, {});
		obs_data_set_array(record, "observed", paths);
		obs_data_set_string(record, "current", "id1");
		obs_data_set_bool(record, "managed", oneIn(2));
		obs_data_set_int(record, "endMode", pick(3));
		for (int i = pick(4); i > 0; i--)
			spoil(record);
		obs_data_set_obj(settings, key, record);
	}

	void spoil(obs_data_t *record)
	{
		static const char *const keys[] = {"version",         "tracks",           "tracks",  "tracks",
						   "observed",        "current",          "managed", "originalLoop",
						   "originalShuffle", "originalBehavior", "endMode", "leftover"};
		const char *key = pickFrom(keys);
		OBSDataArrayAutoRelease items = obs_data_get_array(record, key);
		const size_t count = obs_data_array_count(items);
		if (count > 0 && !oneIn(3)) {
			OBSDataAutoRelease item = obs_data_array_item(
				items, oneIn(2) ? count - 1 : static_cast<size_t>(pick(int(count))));
			putAnything(item, oneIn(2) ? "value" : "id", 0);
		} else {
			putAnything(record, key, 0);
		}
	}

private:
	static void pushItem(obs_data_array_t *array, const QString &path, const QByteArray &id)
	{
		OBSDataAutoRelease item = obs_data_create();
		obs_data_set_string(item, "value", path.toUtf8().constData());
		if (!id.isEmpty())
			obs_data_set_string(item, "id", id.constData());
		obs_data_array_push_back(array, item);
	}
	void setTracks(obs_data_t *record, int count)
	{
		OBSDataArrayAutoRelease tracks = obs_data_array_create();
		for (int i = 0; i < count; i++)
			pushItem(tracks, u"/m/%1.mp3"_s.arg(i), "id" + QByteArray::number(oneIn(9) ? 0 : i));
		obs_data_set_array(record, "tracks", tracks);
	}
	QByteArray anyText()
	{
		static const QByteArray texts[] = {"",      "x",  "id1", "\xff\xfe\xc3(", "\x01\n\t",
						   "%1 %2", "😀", "/",   "://",           "file:"};
		return oneIn(500) ? QByteArray(1 << 20, 'm') : pickFrom(texts);
	}
	void putAnything(obs_data_t *data, const char *key, int depth)
	{
		static const long long numbers[] = {0, 1, 2, -1, INT_MAX, LLONG_MAX, LLONG_MIN};
		static const double fractions[] = {0.5, 1.5, -1e300, 1e300};
		OBSDataAutoRelease object = obs_data_create();
		OBSDataArrayAutoRelease array = obs_data_array_create();
		switch (pick(depth < 30 ? 8 : 5)) {
		case 0:
			return obs_data_erase(data, key);
		case 1:
			return obs_data_set_int(data, key, pickFrom(numbers));
		case 2:
			return obs_data_set_double(data, key, pickFrom(fractions));
		case 3:
			return obs_data_set_bool(data, key, oneIn(2));
		case 4:
			return obs_data_set_string(data, key, anyText().constData());
		case 5:
			putAnything(object, key, depth + 1);
			return obs_data_set_obj(data, key, object);
		default:
			for (int i = pick(4); i > 0; i--) {
				OBSDataAutoRelease item = obs_data_create();
				putAnything(item, oneIn(2) ? "value" : "id", depth + 1);
				putAnything(item, oneIn(2) ? "value" : "id", depth + 1);
				obs_data_array_push_back(array, item);
			}
			return obs_data_set_array(data, key, array);
		}
	}

	std::mt19937 random{1};
};

struct Item {
	QString id, path;
	bool operator==(const Item &) const = default;
};

} // namespace

class Hostile : public Host {
protected:
	// What a record says, absent and wrong values read as libobs gives them.
	struct Reading {
		bool version = false, whole = true;
		QList<Item> items; // those that name a path
		QStringList observed;
		long long endMode = 0;
	};
	static Reading read(obs_data_t *record)
	{
		Reading reading;
		reading.version = obs_data_get_int(record, "version") == 1;
		reading.endMode = reading.version ? std::clamp(obs_data_get_int(record, "endMode"), 0LL, 2LL) : 0;
		const auto each = [record](const char *key, const std::function<void(const Item &)> &take) {
			OBSDataArrayAutoRelease array = obs_data_get_array(record, key);
			for (size_t i = 0; i < obs_data_array_count(array); i++) {
				OBSDataAutoRelease item = obs_data_array_item(array, i);
				take({QString::fromUtf8(obs_data_get_string(item, "id")),
				      QString::fromUtf8(obs_data_get_string(item, "value"))});
			}
		};
		each("tracks", [&reading](const Item &item) {
			reading.whole &= !item.id.isEmpty() && !item.path.isEmpty();
			if (!item.path.isEmpty())
				reading.items += item;
		});
		each("observed", [&reading](const Item &item) {
			if (!item.path.isEmpty())
				reading.observed += item.path;
		});
		return reading;
	}
	static QStringList pathsOf(const QList<Item> &items)
	{
		QStringList paths;
		for (const Item &item : items)
			paths += item.path;
		return paths;
	}
	QList<Item> queue() const
	{
		QList<Item> items;
		for (int i = 0; i < list()->count(); i++)
			items += {idAt(i), pathAt(i)};
		return items;
	}
	QAction *bringBack() const { return action("bringBackReplacedQueue"); }
	void expectSoundRecord(obs_source_t *source) const;
	void load(obs_source_t *source);

	Generator generator;
};

// Whatever was there, what is there now is what the dock shows and can be read again.
void Hostile::expectSoundRecord(obs_source_t *source) const
{
	OBSDataAutoRelease privateSettings = obs_source_get_private_settings(source);
	OBSDataAutoRelease record = obs_data_get_obj(privateSettings, recordKey);
	const Reading stored = read(record);
	EXPECT_TRUE(stored.version && stored.whole && stored.items == queue());
	EXPECT_EQ(stored.observed, valuesIn(settingsOf(source), "playlist"));
	EXPECT_EQ(child<QComboBox>("endMode")->currentIndex(), stored.endMode);
	const QString current = QString::fromUtf8(obs_data_get_string(record, "current"));
	EXPECT_TRUE(current.isEmpty() || std::ranges::count(stored.items, current, &Item::id) > 0);
	EXPECT_STRNE(obs_data_get_string(record, "originalBehavior"), "");
}

void Hostile::load(obs_source_t *source)
{
	const auto textOf = [](obs_data_t *data) {
		return std::string(data ? obs_data_get_json(data) : "");
	};
	const QStringList playlist = valuesIn(settingsOf(source), "playlist");
	OBSDataAutoRelease privateSettings = obs_source_get_private_settings(source);
	OBSDataAutoRelease record = obs_data_get_obj(privateSettings, recordKey);
	OBSDataAutoRelease replaced = obs_data_get_obj(privateSettings, replacedKey);
	const Reading before = read(record), aside = read(replaced);
	const std::string asideText = textOf(replaced);
	QTest::mouseClick(child<QWidget>("refresh"), Qt::LeftButton);

	expectSoundRecord(source);
	EXPECT_EQ(child<QComboBox>("endMode")->currentIndex(), before.endMode);
	OBSDataAutoRelease now = obs_data_get_obj(privateSettings, replacedKey);
	if (before.version && before.whole && before.observed == playlist) {
		EXPECT_EQ(queue(), before.items);
		EXPECT_EQ(textOf(now), asideText) << "a good queue's load replaces nothing";
		return;
	}
	EXPECT_EQ(pathsOf(queue()), playlist);
	// What could be read comes back; where nothing could, what was kept before.
	const bool keeps = !before.items.isEmpty() &&
			   !(before.whole && before.version && pathsOf(before.items) == playlist);
	const QList<Item> kept = keeps ? before.items : aside.items;
	if (kept.isEmpty())
		return;
	const QList<Item> replacement = queue();
	ASSERT_TRUE(bringBack()->isEnabled());
	bringBack()->trigger();
	expectSoundRecord(source);
	EXPECT_EQ(pathsOf(queue()), pathsOf(kept));
	bringBack()->trigger();
	EXPECT_EQ(queue(), replacement);
	expectSoundRecord(source);
}

TEST_F(Hostile, Records)
{
	const QStringList playlist = {makeFile(u"a.mp3"_s), u"http://host/s"_s};
	const OBSSource source = makeSource(u"S"_s, playlist);
	show(source);
	for (int i = 0; i < 10000 && !HasFailure(); i++) {
		SCOPED_TRACE(i);
		OBSDataAutoRelease settings = obs_source_get_private_settings(source);
		generator.putRecord(settings, recordKey, playlist);
		generator.putRecord(settings, replacedKey, {});
		load(source);
		if (i % 100 == 0)
			QCoreApplication::processEvents();
		progress++;
	}
}

// Loads the module anew on each of these files; the good queue that the source has stays as it is.
class HostileSettings : public Hostile {
protected:
	void SetUp() override
	{
		source = makeSource(u"S"_s, {u"http://host/s"_s});
		show(source);
		before = recordOf(source);
		good = read();
		ASSERT_TRUE(good.contains(uuidOf(source).toUtf8()));
	}
	QByteArray read() const
	{
		QFile settings(file);
		return settings.open(QIODevice::ReadOnly) ? settings.readAll() : QByteArray();
	}
	void write(const QByteArray &text) const
	{
		QFile settings(file);
		EXPECT_TRUE(settings.open(QIODevice::WriteOnly) && settings.write(text) == text.size());
	}
	void restart() const
	{
		const auto call = [](const char *name) {
			return os_dlsym(obs_get_module_lib(obs_get_module("obs-reelhouse")), name);
		};
		reinterpret_cast<void (*)()>(call("obs_module_unload"))();
		ASSERT_TRUE(reinterpret_cast<bool (*)()>(call("obs_module_load"))());
		frontend->send(OBS_FRONTEND_EVENT_FINISHED_LOADING);
		progress++;
	}
	// Restarts, and chooses the source if the file did not.
	void expectDefaults()
	{
		restart();
		EXPECT_EQ(child<QComboBox>("sourceSelector")->currentIndex(), 0);
		EXPECT_EQ(child<QLabel>("playbackTime")->text(), u"0:00"_s);
		EXPECT_EQ(recordOf(source), before);
		choose(source);
		EXPECT_EQ(recordOf(source), before);
	}
	QString error() const
	{
		const auto *label = child<QLabel>("message");
		return label->isHidden() ? QString() : label->text();
	}

	const QString file = folder.filePath(u"config/obs-reelhouse/settings.json"_s);
	OBSSource source;
	QJsonObject before;
	QByteArray good;
};

TEST_F(HostileSettings, GoodOnesSurvive)
{
	QTest::mouseClick(child<QWidget>("playbackTime"), Qt::LeftButton);
	restart();
	EXPECT_EQ(child<QComboBox>("sourceSelector")->currentText(), u"S"_s);
	EXPECT_EQ(child<QLabel>("playbackTime")->text(), u"−—:—"_s);
	child<QComboBox>("sourceSelector")->setCurrentIndex(0);
	EXPECT_EQ(read(), R"({"remainingTime":true,"sourceUuid":""})");
}

TEST_F(HostileSettings, Content)
{
	QByteArrayList texts = {"[]",
				"null",
				"\xef\xbb\xbf{",
				QByteArray(100'000, '['),
				QByteArray(100 << 20, '\0'),
				"{\"sourceUuid\":\"" + QByteArray(100 << 20, 'x') + "\"}"};
	for (int size = 0; size < good.size(); size++)
		texts += good.first(size);
	for (const char *value : {"1", "true", "null", "[]", "{}", "\"\xff\"", "-1e999"})
		texts += QByteArray("{\"remainingTime\": \"true\", \"sourceUuid\": ") + value + '}';
	for (const QByteArray &text : std::as_const(texts)) {
		SCOPED_TRACE(text.first(std::min<qsizetype>(text.size(), 100)).toStdString());
		write(text);
		expectDefaults();
		EXPECT_EQ(read(), good);
	}
	for (int i = 0; i < 500; i++) {
		QByteArray text = good;
		for (int bytes = 1 + generator.pick(3); bytes > 0; bytes--)
			text[generator.pick(int(text.size()))] = char(generator.pick(256));
		write(text);
		restart();
		EXPECT_EQ(recordOf(source), before) << text.toStdString();
	}
}

TEST_F(HostileSettings, Place)
{
	const QString place = QFileInfo(file).path();
	const struct {
		const char *situation;
		std::function<void()> arrange, settle;
		bool saves;
	} rows[] = {
		{"a directory", [&] { QDir().mkpath(file + u"/x"_s); }, [&] { QDir(file).removeRecursively(); }, false},
		{"a link to nowhere", [&] { QFile::link(u"/no/such/file"_s, file); }, [] {}, false},
		{"a link to a file that is not there yet", [&] { QFile::link(place + u"/other"_s, file); }, [] {},
		 true},
		{"no folder", [&] { QDir(place).removeRecursively(); }, [] {}, true},
		{"a file in the folder's place",
		 [&] {
			 QDir(place).removeRecursively();
			 makeFile(u"config/obs-reelhouse"_s);
		 },
		 [&] {
			 QFile::remove(place);
			 QDir().mkpath(place);
		 },
		 false},
	};
	for (const auto &[situation, arrange, settle, saves] : rows) {
		QFile::remove(file);
		arrange();
		expectDefaults();
		EXPECT_EQ(error().isEmpty(), saves) << situation;
		EXPECT_EQ(read() == good, saves) << situation;
		settle();
	}
}

// Root may do everything; for the time being it is the user "nobody" to the file system.
TEST_F(HostileSettings, Rights)
{
	using std::filesystem::permissions, std::filesystem::perms;
	const std::filesystem::path path = file.toStdString(), place = path.parent_path();
	for (const auto &above : {place.parent_path(), place.parent_path().parent_path()})
		permissions(above, perms(0755));
	permissions(path, perms::none);
	permissions(place, perms(0555));
	setfsuid(65534);
	expectDefaults();
	setfsuid(geteuid());
	EXPECT_TRUE(error().startsWith(u"⚠ Could not save the settings: "_s)) << error().toStdString();
	permissions(place, perms(0755));
	permissions(path, perms(0644));
	EXPECT_EQ(read(), good);
}

// As on a full disk, a write ends early.
TEST_F(HostileSettings, Room)
{
	std::signal(SIGXFSZ, SIG_IGN);
	rlimit unlimited;
	getrlimit(RLIMIT_FSIZE, &unlimited);
	const rlimit few = {8, unlimited.rlim_max};
	setrlimit(RLIMIT_FSIZE, &few);
	QTest::mouseClick(child<QWidget>("playbackTime"), Qt::LeftButton);
	setrlimit(RLIMIT_FSIZE, &unlimited);
	EXPECT_TRUE(error().startsWith(u"⚠ Could not save the settings: "_s)) << error().toStdString();
	EXPECT_EQ(read(), good) << "the previous file is whole";
	EXPECT_EQ(QDir(QFileInfo(file).path()).entryList(QDir::Files).size(), 1) << "and the only one";
}
