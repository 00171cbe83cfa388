/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "Story.hpp"

// clang-format off: a line is a step

TEST_F(Story, Playing)
{
	tell("a track starts in two phases, and a later wish overtakes an earlier one", "P Q R", {
		{"play Q", "P ▶[Q] R | src P Q R | managed (own) | replaced - | waits"},
		{"video", "P ▶[Q] R | src Q | managed | replaced - | does stop | scene"},
		{"next", "P Q ▶[R] | src Q | managed | replaced - | waits"},
		{"video", "P Q ▶[R] | src R | managed | replaced - | does stop"},
		{"next; previous", "P Q ▶[R] | src R | managed | replaced - | waits"},
		{"video", "P Q ▶[R] | src R | managed | replaced - | does stop, stop"},
		{"play P; stop", "[P] Q R | src | managed | replaced -"},
		{"next; stop; previous", "P Q ▶[R] | src | managed | replaced - | waits"},
		{"stop; next", "▶[P] Q R | src | managed | replaced - | waits"},
		{"stop", "[P] Q R | src | managed | replaced -"},
		{"playPause; refresh", "[P] Q R | src | managed | replaced -"},
		{"video", "[P] Q R | src | managed | replaced - | does stop, stop, stop, stop, stop, stop, stop, stop, stop"},
	});
	tell("the play button plays another row, pauses, resumes and starts again", "P Q R", {
		{"start Q; playPause; video", "P ▶[Q] R | src Q | managed | replaced - | does pause"},
		{"media paused 500 4000; poll; offers?", "Resume, not undoRemove"},
		{"playPause; video", "P ▶[Q] R | src Q | managed | replaced - | does play"},
		{"select R; offers?", "Play Selected, not moveDown moveBottom undoRemove"},
		{"playPause; offers?", "Resume, not playPause seek moveDown moveBottom undoRemove"},
		{"video; media stopped; poll; offers?", "Play, not seek moveDown moveBottom undoRemove"},
		{"playPause", "P Q ▶[R] | src R | managed | replaced - | waits"},
		{"select P; video; playPause; video", "▶[P] Q R | src P | managed | replaced - | does stop"},
	});
	tell("a file that is gone is not played, and what plays stays", "P Q http://h/U", {
		{"gone Q; play Q; back Q; play Q; ask? tracks GetQueue {'offset': 1, 'limit': 1}", "{'tracks':[{'id':'#Q','index':1,'label':'Q','path':'Q','sizeBytes':5}]}"},
		{"gone Q; start P; next", "▶[P] Q http://h/U | src P | managed | replaced - | ⚠ File not found: Q"},
		{"ask? tracks GetQueue {'offset': 1, 'limit': 1}", "{'tracks':[{'id':'#Q','index':1,'label':'Q','missing':true,'path':'Q'}]}"},
		{"log?; play Q; log?", "File not found: Q · Tools › Reelhouse › Find Missing Files…"},
		{"select Q; remove; back Q; drop Q; tools?", "-findMissingFiles -bringBackReplacedQueue"},
		{"gone Q; refresh; play Q", "▶P http://h/U [Q] | src P | managed | replaced - | ⚠ File not found: Q"},
		{"start http://h/U", "P ▶[http://h/U] Q | src http://h/U | managed | replaced - | does stop | scene"},
	});
	tell("a track that ends: stop, next, repeat; just after a switch the end may be that of the track before", "P Q R", {
		{"start Q; media ended; poll; video", "P ▶[Q] R | src | managed | replaced - | does stop"},
		{"endMode Next; start Q; media ended; poll; video", "P Q ▶[R] | src R | managed | replaced - | next | does stop"},
		{"media ended; poll", "P Q ▶[R] | src R | managed | replaced - | next"},
		{"media playing; poll; media ended; poll; video", "P Q ▶[R] | src | managed | replaced - | next | does stop"},
		{"start P; play Q; video; wait 90; refresh; media ended; poll", "P ▶[Q] R | src Q | managed | replaced - | next"},
		{"start P; stop; video; media ended; poll", "▶[P] Q R | src | managed | replaced - | next"},
		{"start P; select P; remove; undoRemove; video; media ended; poll", "[P] Q R | src | managed | replaced - | next"},
		{"start P; restorePlaylist; media ended; poll", "[P] Q R | src P Q R | own | replaced - | next"},
		{"endMode Repeat; start R; media ended; poll", "P Q ▶[R] | src R | managed | replaced - | repeat | waits"},
		{"video", "P Q ▶[R] | src R | managed | replaced - | repeat | does stop"},
		{"media playing; poll; media error; poll; media ended; poll", "P Q ▶[R] | src R | managed | replaced - | repeat | ⚠ Could not play: R"},
		{"media playing; poll; gone R; media ended; poll", "P Q ▶[R] | src R | managed | replaced - | repeat | ⚠ File not found: R"},
	});
	tell("an end that the source reports counts 20 ms later, if a poll has seen the track play", "P Q R", {
		{"endMode Next; start P; drops?", "1"},
		{"wait 240; ends; wait 19", "▶[P] Q R | src P | managed | replaced - | next"},
		{"ends; wait 1", "P ▶[Q] R | src P | managed | replaced - | next | waits"},
		{"video; drops?", "0"},
		{"ends; wait 20; media playing 0 4000; ends; wait 20; poll", "P ▶[Q] R | src Q | managed | replaced - | next"},
		{"media playing; poll; media ended; poll; video; ends; wait 20", "P Q ▶[R] | src R | managed | replaced - | next"},
		{"start P; ends; wait 20; play R; video; drops?", "2"},
		{"start P; ends; play R; wait 19; video", "P Q ▶[R] | src P | managed | replaced - | next | waits"},
		{"wait 1; video; media playing; wait 299; ends; wait 20; video", "P Q ▶[R] | src | managed | replaced - | next | does stop"},
		{"wait 100; play P; wait 100; video; media playing; wait 299; ends; wait 20", "P ▶[Q] R | src P | managed | replaced - | next | waits"},
		{"start P; ends T; wait 20; stop; ends; wait 20", "▶[P] Q R | src | managed | replaced - | next"},
		{"start P; ends; choose T; start X; choose S; wait 20", "▶[P] Q R | src P | managed | replaced - | next"},
		{"start P; ends; edit S Q R; wait 20", "▶[P] Q R | src Q R | managed | replaced - | next"},
	});
	tell("an end counts once VLC's thread has ended that told of it, or after a tenth of a second", "P Q R", {
		{"endMode Next; start P; wait 200; endsSlowly; wait 60", "▶[P] Q R | src P | managed | replaced - | next"},
		{"leaves; wait 20", "P ▶[Q] R | src P | managed | replaced - | next | waits"},
		{"start P; endsSlowly; wait 99", "▶[P] Q R | src P | managed | replaced - | next"},
		{"wait 1; leaves", "P ▶[Q] R | src P | managed | replaced - | next | waits"},
		{"start P; endsSlowly; play R; video", "P Q ▶[R] | src P | managed | replaced - | next | waits"},
		{"leaves; wait 20; video", "P Q ▶[R] | src R | managed | replaced - | next | does stop | scene"},
		{"start P; endsSlowly; play Q; play R; wait 100; leaves; video; wait 20", "P Q ▶[R] | src R | managed | replaced - | next"},
		{"start P; endsSlowly; play Q; own stop; video", "P ▶[Q] R | src Q | managed | replaced - | next | does stop | scene"},
		{"leaves; wait 100; video", "P ▶[Q] R | src Q | managed | replaced - | next"},
		{"start P; endsSlowly; play Q; refresh; leaves; wait 100; video", "P [Q] R | src P | managed | replaced - | next"},
		{"start P; endsSlowly; choose T; endMode Next; start X; media ended; leaves; wait 20", "▶[X] Y | src X | managed | replaced - | next"},
	});
	tell("VLC has a longer rest after an end on a machine that was too slow for OBS's pictures a moment ago", "P Q R", {
		{"endMode Next; start P; lags; ends; wait 99", "▶[P] Q R | src P | managed | replaced - | next"},
		{"wait 1", "P ▶[Q] R | src P | managed | replaced - | next | waits"},
		{"start P; media ended; poll; wait 999", "▶[P] Q R | src P | managed | replaced - | next"},
		{"wait 1; start P; endsSlowly; wait 999", "▶[P] Q R | src P | managed | replaced - | next"},
		{"wait 1; leaves; wait 10000; start P; ends; wait 20", "P ▶[Q] R | src P | managed | replaced - | next | waits"},
	});
	tell("a refresh, Bring Back and a missing file in a track's last moment do not stop the show", "P Q R", {
		{"endMode Next; start P; refresh; ends; wait 20", "P ▶[Q] R | src P | managed | replaced - | next | waits"},
		{"start P; gone R; play R; ends; wait 20", "P ▶[Q] R | src P | managed | replaced - | next | waits"},
		{"start P; refresh; media ended; refresh; ends; wait 20", "▶[P] Q R | src P | managed | replaced - | next"},
		{"play P; video; wait 50; media playing 20 4000; refresh; ends; wait 20", "▶[P] Q R | src P | managed | replaced - | next"},
		{"start P; elsewhere Q; bringBack; play P; video; wait 100; media playing; bringBack; bringBack; ends; wait 20", "P ▶[Q] R | src P | managed | replaced Q | next | waits"},
	});
	tell("the source's own controls step the queue", "P Q R", {
		{"own next; video", "[P] Q R | src P Q R | own | replaced - | does next"},
		{"start Q; own next; video", "P Q ▶[R] | src Q | managed | replaced - | waits | does next"},
		{"video; own previous; video", "P ▶[Q] R | src R | managed | replaced - | waits | does previous"},
		{"choose T; choose S", "P [Q] R | src R | managed | replaced -"},
		{"stop; own stop; own next; video", "P [Q] R | src | managed | replaced - | does stop, stop, stop, next"},
		{"start Q; edit S A B; own stop; video", "P ▶[Q] R | src A B | managed | replaced - | does stop"},
		{"choose T; elsewhere X; bringBack; own next; video", "▶[X] Y | src X | own | replaced X | does next"},
	});
	tell("what becomes of a switch that waits", "P Q R", {
		{"play Q; midway stop", "P ▶[Q] R | src | managed | replaced - | does stop"},
		{"video; play Q; midway play R", "P Q ▶[R] | src Q | managed | replaced - | waits | does stop"},
		{"midway restorePlaylist", "P Q [R] | src P Q R | own | replaced - | does stop"},
		{"start P; play Q; choose T; choose S", "P [Q] R | src P | managed | replaced -"},
		{"video", "P [Q] R | src P | managed | replaced - | does stop"},
		{"play Q; suspend; video; resume", "P [Q] R | src P | managed | replaced -"},
		{"play R; restorePlaylist; video", "P Q [R] | src P Q R | own | replaced - | does stop, stop"},
		{"play R; restart", "P Q [R] | src P Q R | managed (own) | replaced -"},
		{"play R; video; restart", "P Q ▶[R] | src R | managed | replaced -"},
	});
}

TEST_F(Story, Transport)
{
	tell("the slider seeks once, on release, in the media that it was taken for", "P Q", {
		{"start P; media playing 10000 100000; poll; transport?", "100 0:10 (Playing · 0:10 / 1:40)"},
		{"slide 750; poll; time; time; transport?", "750 1:15 (Playing · 0:10 / 1:40)"},
		{"release; poll; time; transport?", "750 −0:25 (Playing · 0:10 / 1:40)"},
		{"video", "▶[P] Q | src P | managed | replaced - | does seek 75000"},
		{"media playing 74900 100000; poll; media playing 20000 100000; poll; transport?", "200 −1:20 (Playing · 0:20 / 1:40)"},
		{"slide 750; release; video; media playing 75101 100000; poll; media playing 20000 100000; poll; transport?", "750 −0:25 (Playing · 0:20 / 1:40)"},
		{"time; slide 500; media playing 20000 200000; release; transport?", "500 1:40 (Playing · 0:20 / 1:40)"},
		{"video; wait 1250; poll; transport?", "100 0:20 (Playing · 0:20 / 3:20)"},
		{"slide 300; play Q; release; video", "P ▶[Q] | src Q | managed | replaced - | does stop | scene"},
		{"media playing 1 100000; poll; slide 200; release; play Q; video; media playing 1 100000; poll; release; video", "P ▶[Q] | src Q | managed | replaced - | does seek 0"},
		{"media playing 1 100000; poll; slide 300; refresh; release; video", "P ▶[Q] | src Q | managed | replaced -"},
		{"media playing -1 0; poll; transport?", "0 0:00 (Playing · 0:00 / —:—)"},
		{"release; video", "P ▶[Q] | src Q | managed | replaced -"},
		{"media paused 3725000 7200000; poll; transport?", "517 62:05 (Paused · 62:05 / 120:00)"},
		{"media buffering 59999 61000; time; poll; transport?", "983 −0:01 (Loading · 0:59 / 1:01)"},
		{"media error; poll; transport?", "0 −—:— (Error · 0:00 / —:—)"},
		{"media ended 1 1; poll; transport?", "1000 −0:00 (Ended · 0:00 / 0:00)"},
		{"media stopped; poll; transport?", "0 −—:— (Stopped · 0:00 / —:—)"},
		{"media opening; poll; transport?", "0 −—:— (Loading · 0:00 / —:—)"},
		{"media ended 1 1; poll; focus endMode; key Shift+Tab; focus?", "playbackTime"},
		{"key Space; repeat Space; transport?", "1000 0:00 (Ended · 0:00 / 0:00)"},
		{"choose; transport?", "0 0:00 ()"},
		{"time; transport?", "0 −—:— ()"},
		{"time; transport?", "0 0:00 ()"},
	});
	tell("a seek is over when it has landed, and with what it was meant for", "P Q", {
		{"start P; media playing 0 400000; poll; slide 500; release; video; media playing 200400 400000; poll; media playing 4000 400000; poll; transport?", "10 0:04 (Playing · 0:04 / 6:40)"},
		{"slide 750; wait 750; video", "▶[P] Q | src P | managed | replaced -"},
		{"release; video", "▶[P] Q | src P | managed | replaced - | does seek 300000"},
		{"wait 1250; focus previous; key Tab; focus?", "playPause"},
		{"slide 750; release; refresh; poll; transport?", "10 0:04 (Playing · 0:04 / 6:40)"},
		{"slide 750; release; play Q; video; media playing 4000 400000; poll; transport?", "10 0:04 (Playing · 0:04 / 6:40)"},
		{"slide 750; stop; release; video; poll; transport?", "10 0:04 (Playing · 0:04 / 6:40)"},
		{"focus seek; key PgUp; wait 400; transport?", "110 0:44 (Playing · 0:04 / 6:40)"},
	});
	tell("the wheel changes a selector only with the focus, and does not give it", "P Q", {
		{"focus playlist; wheel endMode; wheel sourceSelector; focus?", "playlist"},
		{"focus endMode; wheel endMode", "[P] Q | src P Q | own | replaced - | next"},
		{"endMode", "[P] Q | src P Q | own | replaced -"},
	});
	tell("keys seek when they rest, and a switch gives the focus back that it took", "P Q", {
		{"start P; media playing 10000 100000; poll; focus seek; key Right; key Right; transport?", "120 0:12 (Playing · 0:10 / 1:40)"},
		{"wait 200; key Left; wait 200; poll; transport?", "110 0:11 (Playing · 0:10 / 1:40)"},
		{"wait 100; video", "▶[P] Q | src P | managed | replaced - | does seek 11000"},
		{"key Right; play Q; wait 400; video", "P ▶[Q] | src Q | managed | replaced - | does stop | scene"},
		{"start P; select Q; focus playPause; key Space; focus?", "nobody"},
		{"video; focus?", "playPause"},
		{"media playing 500 4000; poll; focus seek; media playing 0 0; poll; focus?", "nobody"},
		{"media playing 250 4000; poll; focus?", "seek"},
		{"select P; focus playPause; key Space; focus search; video; focus?", "search"},
	});
	tell("a key that is held down seeks when it is let go", "P Q", {
		{"start P; media playing 10000 100000; poll; focus seek; hold Right; wait 900; repeat Right; wait 900; video", "▶[P] Q | src P | managed | replaced -"},
		{"lift Right; hold Right; wait 900; video", "▶[P] Q | src P | managed | replaced -"},
		{"lift Right; wait 400; video", "▶[P] Q | src P | managed | replaced - | does seek 15000"},
		{"hold Up; wait 900; lift Up; hold Down; wait 900; lift Down; hold PgUp; wait 900; lift PgUp; hold PgDown; wait 900; lift PgDown; hold Home; wait 900; lift Home; hold End; wait 900; hold Left; lift End; wait 900; video", "▶[P] Q | src P | managed | replaced -"},
		{"lift Left; wait 400; hold A; key Left; wait 400; video", "▶[P] Q | src P | managed | replaced - | does seek 99000, seek 98000"},
		{"hold Right; focus playlist; wait 400; video", "▶[P] Q | src P | managed | replaced - | does seek 99000"},
		{"wait 1500; poll; release; video", "▶[P] Q | src P | managed | replaced - | does seek 10000"},
	});
}
