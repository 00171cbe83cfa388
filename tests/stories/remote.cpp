/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "Story.hpp"

TEST_F(Story, Remote)
{
	tell("requests do what the user does", "P Q R", {
		{"ask AddTracks {'paths': [{'path': '@A'}, {'path': 'http://h/U'}], 'position': 1}", ""},
		{"ask RemoveTracks {'ids': [{'id': '#A'}, {'id': '#Q'}]}", ""},
		{"ask UndoRemove; ask UndoRemove", ""},
		{"search #2; ask MoveTrack {'id': '#P', 'index': 4}", ""},
		{"search; ask MoveTrack {'id': '#P', 'index': 0}", ""},
		{"ask PlayTrack {'id': '#P', 'switchScene': true}; ask TogglePlay", ""},
		{"video; ask PlayTrack {'index': 1}; video", ""},
		{"ask PlayPrevious; ask PlayNext; ask PlayNext", ""},
		{"ask SetEndMode {'endMode': 'repeat'}; ask Stop", ""},
		{"ask GivePlaylistBack", ""},
		{"elsewhere X; ask BringBackReplacedQueue", ""},
		{"ask? GetQueue {'offset': 1, 'limit': 2}", ""},
		{"ask? GetSources", ""},
		{"ask SelectSource {'sourceName': 'T'}", ""},
		{"ask SelectSource {'sourceUuid': ''}", ""},
	});
	tell("what is wrong is refused and changes nothing", "P Q R", {
		{"ask GetQueue {'offset': -1}", ""},
		{"ask GetQueue {'offset': 4}", ""},
		{"ask GetQueue {'limit': 1.0}", ""},
		{"ask SelectSource", ""},
		{"ask SelectSource {'sourceUuid': 'nobody'}", ""},
		{"ask SelectSource {'sourceName': 'Nobody'}", ""},
		{"ask PlayTrack {'index': 3}", ""},
		{"ask PlayTrack {'index': 0, 'switchScene': 1}", ""},
		{"ask AddTracks {'paths': []}", ""},
		{"ask AddTracks {'paths': [{'path': '@A'}, {'path': ''}]}", ""},
		{"ask AddTracks {'paths': [{'path': '@A'}], 'position': 4}", ""},
		{"ask RemoveTracks {'ids': [{'id': '#P'}, {'id': 'x'}]}", ""},
		{"ask MoveTrack {'id': '#P', 'index': 3}", ""},
		{"ask SetEndMode {'endMode': 'loop'}", ""},
		{"ask BringBackReplacedQueue", ""},
		{"gone Q; ask PlayTrack {'id': '#Q'}", ""},
		{"elsewhere; ask PlayNext", ""},
		{"ask GivePlaylistBack", ""},
		{"ask TogglePlay", ""},
		{"choose; ask GetQueue", ""},
		{"suspend; ask SelectSource {'sourceName': 'S'}", ""},
	});
	tell("events tell of each change once and in order", "P Q R", {
		{"look; told?; select P; moveDown; moveDown; wait 140; remove; wait 140; told?", ""},
		{"wait 10; told?", ""},
		{"undoRemove; play P; told?", ""},
		{"endMode Next; endMode Next; refresh; told?", ""},
		{"suspend; wait 200; told?", ""},
		{"resume; wait 200; told?", ""},
		{"burst 900; told?", ""},
		{"burst 400; told?", ""},
	});
}

TEST_F(Story, RemoteLeavesTheViewAlone)
{
	tell("adding, removing and undoing", "P Q R", {
		{"select Q; ask AddTracks {'paths': [{'path': '@A'}], 'position': 0}", "A P [Q] R | src P Q R | own | kept -"},
		{"search Q; ask RemoveTracks {'ids': [{'id': '#P'}]}", "(A) [Q] (R) | src P Q R | own | kept -"},
		{"ask UndoRemove", "(A) (P) [Q] (R) | src P Q R | own | kept -"},
		{"search; ask RemoveTracks {'ids': [{'id': '#Q'}]}", "A P [R] | src P Q R | own | kept -"},
		{"ask RemoveTracks {'ids': [{'id': '#R'}, {'id': '#A'}]}", "[P] | src P Q R | own | kept -"},
	});
	tell("TogglePlay is about the current track alone", "P Q R", {
		{"ask TogglePlay", "[P] Q R | src P Q R | own | kept - | nothingToPlay"},
		{"start P; ask AddTracks {'paths': [{'path': '@C'}]}; select C; ask TogglePlay; video",
		 "▶P Q R [C] | src P | managed | kept - | does pause"},
		{"media paused; ask TogglePlay; video", "▶P Q R [C] | src P | managed | kept - | does play"},
		{"media stopped; ask TogglePlay", "▶[P] Q R C | src P | managed | kept - | waits"},
		{"ask TogglePlay", "▶[P] Q R C | src P | managed | kept - | waits | switching"},
	});
	tell("Play, Pause and Resume may be repeated", "P Q", {
		{"ask Pause; ask Play; video", ""},
		{"media playing 500 4000; poll; ask Play; ask Pause; ask Pause; video", ""},
		{"media paused 500 4000; poll; ask Resume; ask Resume; video", ""},
		{"media ended; poll; video; ask Resume; ask Play; ask Play", ""},
		{"video; ask PlayTrack {'id': '#P', 'index': 1}", ""},
		{"ask Stop {'sourceUuid': 'nobody'}", ""},
	});
}
