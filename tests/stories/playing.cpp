/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "Story.hpp"

TEST_F(Story, Playing)
{
	tell("a track starts in two phases, and a later wish overtakes an earlier one", "P Q R", {
		{"play Q", ""},
		{"video", ""},
		{"next", ""},
		{"video", ""},
		{"next; previous", ""},
		{"video", ""},
		{"play P; stop", ""},
		{"playPause; refresh", ""},
		{"video", ""},
	});
	tell("the play button plays another row, pauses, resumes and starts again", "P Q R", {
		{"start Q; offers?", ""},
		{"playPause; video", ""},
		{"media paused 500 4000; poll; offers?", ""},
		{"playPause; video", ""},
		{"select R; offers?", ""},
		{"playPause; offers?", ""},
		{"video; media stopped; poll; offers?", ""},
		{"playPause", ""},
	});
	tell("a file that is gone is not played, and what plays stays", "P Q http://h/U", {
		{"gone Q; start P; next", ""},
		{"select Q; playPause", ""},
		{"refresh; play Q", ""},
		{"start http://h/U", ""},
	});
	tell("a track that ends: stop, next, repeat", "P Q R", {
		{"start Q; media ended; poll; video", ""},
		{"endMode Next; start Q; media ended; poll; video", ""},
		{"media ended; poll", ""},
		{"media playing; poll; media ended; poll; video", ""},
		{"endMode Repeat; start R; media ended; poll", ""},
		{"video; media playing; poll; media error; poll; media ended; poll", ""},
		{"media playing; poll; gone R; media ended; poll", ""},
	});
	tell("the source's own controls step the queue", "P Q R", {
		{"own next; video", ""},
		{"start Q; own next; video", ""},
		{"video; own previous; video", ""},
		{"choose T; choose S", ""},
		{"stop; own stop; own next; video", ""},
	});
	tell("what becomes of a switch that waits", "P Q R", {
		{"start P; play Q; choose T; choose S", ""},
		{"video", ""},
		{"play Q; suspend; video; resume", ""},
		{"play R; restorePlaylist; video", ""},
		{"play R; restart", ""},
		{"play R; video; restart", ""},
	});
}

TEST_F(Story, Transport)
{
	tell("the slider seeks once, on release, in the media that it was taken for", "P Q", {
		{"transport?", ""},
		{"start P; transport?", ""},
		{"media playing 10000 100000; poll; transport?", ""},
		{"slide 750; poll; transport?", ""},
		{"release; poll; transport?", ""},
		{"time; transport?", ""},
		{"video", ""},
		{"media playing 75050 100000; poll; media playing 20000 100000; poll; transport?", ""},
		{"time; slide 500; media playing 20000 200000; release; transport?", ""},
		{"video; wait 1250; poll; transport?", ""},
		{"slide 300; play Q; release; video", ""},
		{"media playing -1 0; poll; transport?", ""},
		{"media paused 3725000 7200000; poll; transport?", ""},
		{"media buffering 59999 61000; time; poll; transport?", ""},
		{"media error; poll; transport?", ""},
		{"media ended 1 1; poll; transport?", ""},
		{"choose; transport?", ""},
	});
	tell("keys seek when they rest", "P Q", {
		{"start P; media playing 10000 100000; poll; focus seek; key Right; key Right; transport?", ""},
		{"wait 200; key Left; wait 200; poll; transport?", ""},
		{"wait 100; video", ""},
		{"key Right; play Q; wait 400; video", ""},
	});
	tell("a switch gives the focus back that it took", "P Q", {
		{"start P; select Q; focus playPause; key Space; focus?", ""},
		{"video; focus?", ""},
	});
}

TEST_F(Story, HeldKeys)
{
	tell("a key that is held down seeks when it is let go", "P Q", {
		{"start P; media playing 10000 100000; poll; focus seek; hold Right; wait 900; video", "▶[P] Q | src P | managed | kept -"},
		{"lift Right; hold Right; wait 900; video", "▶[P] Q | src P | managed | kept -"},
		{"lift Right; wait 300; video", "▶[P] Q | src P | managed | kept - | does seek 12000"},
		{"hold Right; focus playlist; wait 300; video", "▶[P] Q | src P | managed | kept - | does seek 13000"},
		{"wait 1500; poll; release; video", "▶[P] Q | src P | managed | kept - | does seek 10000"},
	});
	tell("a refused track is missing from then on", "P Q", {
		{"gone Q; play Q; ask? GetQueue {'offset': 1, 'limit': 1}", ""},
	});
}
