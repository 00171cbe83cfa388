/* SPDX-License-Identifier: GPL-2.0-or-later */
#include <QString>

#include <gtest/gtest.h>

#include "dock/paths.hpp"
#include "dock/text.hpp"
#include "dock/widgets/TrackDelegate.hpp"
#include "media/tags.hpp"

using namespace reelhouse;
using namespace Qt::StringLiterals;

// The texts come from the module's locale, which is not loaded for these.
extern "C" const char *obs_module_text(const char *key)
{
	return key;
}

TEST(Text, ClockCutsFractionsAndHasNoHours)
{
	const struct {
		qint64 ms;
		const char *text;
	} rows[] = {{0, "0:00"},     {999, "0:00"},      {1000, "0:01"},     {59999, "0:59"},
		    {61000, "1:01"}, {3599000, "59:59"}, {3725000, "62:05"}, {-5000, "0:00"}};
	for (const auto &row : rows)
		EXPECT_EQ(clockText(row.ms).toStdString(), row.text) << row.ms;
}

TEST(Text, SizesTakeTheLargestUnitBelow1024)
{
	const struct {
		qint64 size;
		const char *text;
	} rows[] = {{0, "0 B"},
		    {1023, "1023 B"},
		    {1024, "1.0 KiB"},
		    {1536, "1.5 KiB"},
		    {1048575, "1024.0 KiB"},
		    {1048576, "1.0 MiB"},
		    {5LL << 30, "5.0 GiB"},
		    {std::numeric_limits<qint64>::max(), "8.0 EiB"},
		    {-1, "—"},
		    {-2, "—"}};
	for (const auto &row : rows)
		EXPECT_EQ(sizeText(row.size).toStdString(), row.text) << row.size;
}

TEST(Text, PathsNameFilesAndLabels)
{
	const struct {
		const char *path;
		const char *local;
		const char *label;
		const char *title;
	} rows[] = {
		{"/m/a b.mp3", "/m/a b.mp3", "a b.mp3", "a b"},
		{"file:///m/a%20b.mp3", "/m/a b.mp3", "a b.mp3", "a b"},
		{"FILE:///m/a%25.mp3", "/m/a%.mp3", "a%.mp3", "a%"},
		{"/m/100%20.mp3", "/m/100%20.mp3", "100%20.mp3", "100%20"},
		{"file:#a/b", "", "file:#a/b", "file:#a/b"},
		{"relative.mp3", "relative.mp3", "relative.mp3", "relative"},
		{"/m/", "/m/", "/m/", "/m/"},
		{"/m/Dr. Who 2.5", "/m/Dr. Who 2.5", "Dr. Who 2.5", "Dr. Who 2.5"},
		{"/m/.mp3", "/m/.mp3", ".mp3", ".mp3"},
		{"http://host/live/one.m3u8", "", "one.m3u8", "one"},
		{"http://host.org", "", "host.org", "host.org"},
		{"http://host/live/one.m3u8?x=1", "", "one.m3u8?x=1", "one.m3u8?x=1"},
		{"rtmp://host/", "", "rtmp://host/", "rtmp://host/"},
		{"/m/%1 \"😀\"\n.mp3", "/m/%1 \"😀\"\n.mp3", "%1 \"😀\"\n.mp3", "%1 \"😀\"\n"},
	};
	for (const auto &row : rows) {
		const QString path = QString::fromUtf8(row.path);
		EXPECT_EQ(localFilePath(path).toStdString(), row.local) << row.path;
		EXPECT_EQ(labelFor(path, false).toStdString(), row.label) << row.path;
		EXPECT_EQ(displayTitle(path, {}).toStdString(), row.title) << row.path;
		EXPECT_EQ(labelFor(path, true).toStdString(), std::string("▶\uFE0E ") + row.label) << row.path;
	}
}
