/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "Story.hpp"

// clang-format off: a line is a step

TEST_F(Story, Remote)
{
	tell("requests do what the user does", "P Q R", {
		{"ask AddTracks {'paths': [{'path': '@A'}, {'path': 'http://h/U'}], 'position': 1}", "[P] A http://h/U Q R | src P Q R | own | kept -"},
		{"ask RemoveTracks {'ids': [{'id': '#A'}, {'id': '#Q'}]}", "[P] http://h/U R | src P Q R | own | kept -"},
		{"ask UndoRemove; ask UndoRemove", "[P] A http://h/U Q R | src P Q R | own | kept - | nothingToUndo"},
		{"search #2; ask MoveTrack {'id': '#P', 'index': 4}", "(A) [http://h/U] (Q) (R) (P) | src P Q R | own | kept -"},
		{"search; ask MoveTrack {'id': '#P', 'index': 0}", "P A [http://h/U] Q R | src P Q R | own | kept -"},
		{"ask PlayTrack {'id': '#P', 'switchScene': true}; ask TogglePlay", "▶[P] A http://h/U Q R | src P Q R | managed (own) | kept - | waits | switching"},
		{"video; ask PlayTrack {'index': 1}; video", "P ▶[A] http://h/U Q R | src A | managed | kept - | does stop"},
		{"ask PlayPrevious; ask PlayNext; ask PlayNext", "P A ▶[http://h/U] Q R | src A | managed | kept - | waits"},
		{"ask SetEndMode {'endMode': 'repeat'}; ask Stop", "P A [http://h/U] Q R | src | managed | kept - | repeat"},
		{"ask GivePlaylistBack", "P A [http://h/U] Q R | src P A http://h/U Q R | own | kept - | repeat"},
		{"elsewhere X; ask BringBackReplacedQueue", "[P] A http://h/U Q R | src X | own | kept X | repeat"},
		{"ask? all GetQueue {'offset': 1, 'limit': 2}", "{'canBringBack':true,'canUndo':false,'currentId':'','currentIndex':-1,'cursor':0,'duration':0,'endMode':'repeat','mediaState':'OBS_MEDIA_STATE_NONE','sourceName':'S','sourceUuid':'S','success':true,'total':5,'tracks':[{'id':'#A','index':1,'label':'A','path':'A','sizeBytes':5},{'id':'#http://h/U','index':2,'label':'U','path':'http://h/U'}]}"},
		{"ask? tracks GetQueue {'offset': 4, 'limit': 9}", "{'tracks':[{'id':'#R','index':4,'label':'R','path':'R','sizeBytes':5}]}"},
		{"ask? all GetSources", "{'sources':[{'label':'S','selected':true,'sourceName':'S','sourceUuid':'S'},{'label':'T','selected':false,'sourceName':'T','sourceUuid':'T'}],'success':true}"},
		{"ask SelectSource {'sourceName': 'T'}", "[X] Y | src X Y | own | kept -"},
		{"ask SelectSource {'sourceUuid': ''}", "no source"},
		{"delete T; ask? all GetSources", "{'sources':[{'label':'S','selected':false,'sourceName':'S','sourceUuid':'S'}],'success':true}"},
	});
	tell("what is wrong is refused and changes nothing", "P Q R", {
		{"ask GetQueue {'offset': -1}", "[P] Q R | src P Q R | own | kept - | indexOutOfRange"},
		{"ask GetQueue {'offset': 4}", "[P] Q R | src P Q R | own | kept - | indexOutOfRange"},
		{"ask GetQueue {'limit': 1.0}", "[P] Q R | src P Q R | own | kept - | wrongType"},
		{"ask SelectSource", "[P] Q R | src P Q R | own | kept - | missingField"},
		{"ask SelectSource {'sourceName': 'Nobody'}", "[P] Q R | src P Q R | own | kept - | unknownSource"},
		{"ask SelectSource {'sourceUuid': 'nobody'}", "[P] Q R | src P Q R | own | kept - | unknownSource"},
		{"ask PlayTrack {'index': 3}", "[P] Q R | src P Q R | own | kept - | indexOutOfRange"},
		{"ask PlayTrack {'index': 0, 'switchScene': 1}", "[P] Q R | src P Q R | own | kept - | wrongType"},
		{"ask AddTracks {'paths': []}", "[P] Q R | src P Q R | own | kept - | emptyList"},
		{"ask AddTracks {'paths': [{'path': '@A'}, {'path': ''}]}", "[P] Q R | src P Q R | own | kept - | emptyPath"},
		{"ask AddTracks {'paths': [{'path': '@A'}], 'position': 4}", "[P] Q R | src P Q R | own | kept - | indexOutOfRange"},
		{"ask RemoveTracks {'ids': [{'id': '#P'}, {'id': 'x'}]}", "[P] Q R | src P Q R | own | kept - | unknownTrack"},
		{"ask MoveTrack {'id': '#P', 'index': 3}", "[P] Q R | src P Q R | own | kept - | indexOutOfRange"},
		{"ask SetEndMode {'endMode': 'loop'}", "[P] Q R | src P Q R | own | kept - | unknownEndMode"},
		{"ask BringBackReplacedQueue", "[P] Q R | src P Q R | own | kept - | nothingToBringBack"},
		{"gone Q; ask PlayTrack {'id': '#Q'}", "[P] Q R | src P Q R | own | kept - | fileMissing | ⚠ File not found: Q"},
		{"elsewhere; ask PlayNext", "∅ | src | own | kept P Q R | emptyQueue"},
		{"ask GivePlaylistBack", "∅ | src | own | kept P Q R | nothingToGiveBack"},
		{"ask TogglePlay", "∅ | src | own | kept P Q R | nothingToPlay"},
		{"choose; ask GetQueue", "no source"},
		{"suspend; ask SelectSource {'sourceName': 'S'}", "no source"},
	});
	tell("events tell of each change once and in order", "P Q R", {
		{"look; told?; select P; moveDown; moveDown; wait 140; remove; wait 140; told?", "nothing"},
		{"wait 20; told?", "Queue 2"},
		{"undoRemove; play P; told?", "Queue 3, CurrentTrack P"},
		{"endMode Next; endMode Next; refresh; told?", "EndMode next, CurrentTrack"},
		{"suspend; wait 200; told?", "Queue 0"},
		{"resume; wait 200; told?", "Queue 3"},
		{"select 0; burst 900; told?", "nothing"},
		{"burst 400; told?", "Queue 3"},
	});
	tell("the view stays as it is", "P Q R", {
		{"select Q; ask AddTracks {'paths': [{'path': '@A'}], 'position': 0}", "A P [Q] R | src P Q R | own | kept -"},
		{"search /Q; ask RemoveTracks {'ids': [{'id': '#P'}]}", "(A) [Q] (R) | src P Q R | own | kept -"},
		{"ask UndoRemove", "(A) (P) [Q] (R) | src P Q R | own | kept -"},
		{"search; ask RemoveTracks {'ids': [{'id': '#Q'}]}", "A P [R] | src P Q R | own | kept -"},
		{"ask RemoveTracks {'ids': [{'id': '#R'}, {'id': '#A'}]}", "[P] | src P Q R | own | kept -"},
	});
	tell("TogglePlay is about the current track alone", "P Q R", {
		{"ask TogglePlay", "[P] Q R | src P Q R | own | kept - | nothingToPlay"},
		{"start P; ask AddTracks {'paths': [{'path': '@C'}]}; select C; ask TogglePlay; video",
		 "▶P Q R [C] | src P | managed | kept - | does pause"},
		{"media paused; ask TogglePlay; video", "▶P Q R [C] | src P | managed | kept - | does play"},
		{"media playing; poll; media stopped; poll; ask TogglePlay", "▶[P] Q R C | src P | managed | kept - | waits"},
		{"ask TogglePlay", "▶[P] Q R C | src P | managed | kept - | waits | switching"},
	});
	tell("Play, Pause and Resume may be repeated", "P Q", {
		{"ask Pause; ask Play; video", "▶[P] Q | src P | managed | kept - | does stop"},
		{"media playing 500 4000; poll; ask Play; ask Pause; ask Pause; video", "▶[P] Q | src P | managed | kept - | does pause"},
		{"media paused 500 4000; poll; ask Resume; ask Resume; video", "▶[P] Q | src P | managed | kept - | does play"},
		{"media playing; poll; media ended; poll; video; ask Resume; ask Play; ask Play", "▶[P] Q | src | managed | kept - | waits | switching"},
		{"video; ask PlayTrack {'id': '#P', 'index': 1}", "▶[P] Q | src P | managed | kept - | differentTracks"},
		{"ask Stop {'sourceUuid': 'nobody'}", "▶[P] Q | src P | managed | kept - | otherSource"},
	});
}
