/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "Story.hpp"

// clang-format off: a line is a step

TEST_F(Story, Remote)
{
	tell("requests do what the user does", "P Q R", {
		{"ask AddTracks {'paths': [{'path': '@A'}, {'path': 'http://h/U'}], 'position': 1}", "[P] A http://h/U Q R | src P Q R | own | replaced -"},
		{"ask RemoveTracks {'ids': [{'id': '#A'}, {'id': '#Q'}]}", "[P] http://h/U R | src P Q R | own | replaced -"},
		{"ask UndoRemove; ask UndoRemove", "[P] A http://h/U Q R | src P Q R | own | replaced - | nothingToUndo"},
		{"search #2; ask MoveTrack {'id': '#P', 'index': 4}", "(A) [http://h/U] (Q) (R) (P) | src P Q R | own | replaced -"},
		{"search; ask MoveTrack {'id': '#P', 'index': 0}", "P A [http://h/U] Q R | src P Q R | own | replaced -"},
		{"ask PlayTrack {'id': '#P', 'switchScene': true}; ask TogglePlay", "▶[P] A http://h/U Q R | src P Q R | managed (own) | replaced - | waits | switching"},
		{"video; ask PlayTrack {'index': 1}; video", "P ▶[A] http://h/U Q R | src A | managed | replaced - | does stop"},
		{"ask PlayPrevious; ask PlayNext; ask PlayNext", "P A ▶[http://h/U] Q R | src A | managed | replaced - | waits"},
		{"ask SetEndMode {'endMode': 'repeat'}; ask Stop", "P A [http://h/U] Q R | src | managed | replaced - | repeat"},
		{"ask GivePlaylistBack", "P A [http://h/U] Q R | src P A http://h/U Q R | own | replaced - | repeat"},
		{"elsewhere X; ask BringBackReplacedQueue", "[P] A http://h/U Q R | src X | own | replaced X | repeat"},
		{"ask? all GetQueue {'offset': 1, 'limit': 2}", "{'canBringBack':true,'canUndo':false,'currentId':'','currentIndex':-1,'cursor':0,'duration':0,'endMode':'repeat','mediaState':'OBS_MEDIA_STATE_NONE','queueDurationMs':0,'queueRemainingMs':0,'skipFailed':false,'sourceName':'S','sourceUuid':'S','startAgain':false,'success':true,'total':5,'tracks':[{'id':'#A','index':1,'label':'A','path':'A','sizeBytes':5},{'id':'#http://h/U','index':2,'label':'U','path':'http://h/U'}],'unknownLengths':5,'upcoming':[]}"},
		{"ask? tracks GetQueue {'offset': 4, 'limit': 9}", "{'tracks':[{'id':'#R','index':4,'label':'R','path':'R','sizeBytes':5}]}"},
		{"ask? all GetSources", "{'sources':[{'label':'S','selected':true,'sourceName':'S','sourceUuid':'S'},{'label':'T','selected':false,'sourceName':'T','sourceUuid':'T'}],'success':true}"},
		{"ask? mediaState Stop", "{'mediaState':'OBS_MEDIA_STATE_STOPPED'}"},
		{"start P; ask? mediaState RemoveTracks {'ids': [{'id': '#P'}]}", "{'mediaState':'OBS_MEDIA_STATE_STOPPED'}"},
		{"start A; ask? all MoveTrack {'id': '#R', 'index': 0}", "{'currentId':'#A','currentIndex':1,'mediaState':'OBS_MEDIA_STATE_PLAYING','success':true}"},
		{"ask? all SelectSource {'sourceName': 'T'}", "{'currentId':'','currentIndex':-1,'mediaState':'OBS_MEDIA_STATE_STOPPED','success':true}"},
		{"ask? all AddTracks {'paths': [{'path': '@Z'}]}", "{'currentId':'','currentIndex':-1,'ids':[{'id':'#Z'}],'mediaState':'OBS_MEDIA_STATE_STOPPED','success':true}"},
		{"ask? all SetEndMode {'endMode': 'next'}", "{'currentId':'','currentIndex':-1,'mediaState':'OBS_MEDIA_STATE_STOPPED','success':true}"},
		{"ask SelectSource {'sourceName': 'T'}", "[X] Y Z | src X Y | own | replaced - | next"},
		{"ask SelectSource {'sourceUuid': ''}", "no source"},
		{"delete T; ask? all GetSources", "{'sources':[{'label':'S','selected':false,'sourceName':'S','sourceUuid':'S'}],'success':true}"},
	});
	tell("what is wrong is refused and changes nothing", "P Q R", {
		{"ask GetQueue {'offset': -1}", "[P] Q R | src P Q R | own | replaced - | indexOutOfRange"},
		{"ask GetQueue {'offset': 4}", "[P] Q R | src P Q R | own | replaced - | indexOutOfRange"},
		{"ask GetQueue {'limit': 1.0}", "[P] Q R | src P Q R | own | replaced - | wrongType"},
		{"ask SelectSource", "[P] Q R | src P Q R | own | replaced - | missingField"},
		{"ask SelectSource {'sourceName': 'Nobody'}", "[P] Q R | src P Q R | own | replaced - | unknownSource"},
		{"ask SelectSource {'sourceUuid': 'nobody'}", "[P] Q R | src P Q R | own | replaced - | unknownSource"},
		{"ask PlayTrack {'index': 3}", "[P] Q R | src P Q R | own | replaced - | indexOutOfRange"},
		{"ask PlayTrack {'index': 3, 'switchScene': 1}", "[P] Q R | src P Q R | own | replaced - | wrongType"},
		{"ask AddTracks {'paths': []}", "[P] Q R | src P Q R | own | replaced - | emptyList"},
		{"ask AddTracks {'paths': [{'path': '@A'}, {'path': ''}]}", "[P] Q R | src P Q R | own | replaced - | emptyPath"},
		{"ask AddTracks {'paths': [{'path': '@A'}], 'position': 4}", "[P] Q R | src P Q R | own | replaced - | indexOutOfRange"},
		{"ask RemoveTracks {'ids': [{'id': '#P'}, {'id': 'x'}]}", "[P] Q R | src P Q R | own | replaced - | unknownTrack"},
		{"ask MoveTrack {'id': '#P', 'index': 3}", "[P] Q R | src P Q R | own | replaced - | indexOutOfRange"},
		{"ask AddTracks {'paths': [{'path': 'LONG'}]}", "[P] Q R | src P Q R | own | replaced - | pathTooLong"},
		{"ask FindMissingFiles {'folder': 'LONG'}", "[P] Q R | src P Q R | own | replaced - | pathTooLong"},
		{"ask FindMissingFiles {'folder': 'http://h/'}", "[P] Q R | src P Q R | own | replaced - | emptyPath"},
		{"ask SetEndMode {'endMode': 'loop'}", "[P] Q R | src P Q R | own | replaced - | unknownEndMode"},
		{"ask BringBackReplacedQueue", "[P] Q R | src P Q R | own | replaced - | nothingToBringBack"},
		{"gone Q; ask PlayTrack {'id': '#Q'}", "[P] Q R | src P Q R | own | replaced - | fileMissing | ⚠ File not found: Q"},
		{"ask SetStartAgain; ask SetSkipFailed {'enabled': 1}", "[P] Q R | src P Q R | own | replaced - | wrongType | ⚠ File not found: Q"},
		{"elsewhere; ask PlayNext", "∅ | src | own | replaced P Q R | emptyQueue"},
		{"ask GivePlaylistBack", "∅ | src | own | replaced P Q R | nothingToGiveBack"},
		{"ask AddTracks {'paths': [{'path': '@A'}, {'path': '@B'}]}", "[A] B | src | own | replaced P Q R"},
		{"ask MoveTrack {'id': 'x', 'index': 0}", "[A] B | src | own | replaced P Q R | unknownTrack"},
		{"ask PlayTrack {'id': 'x'}", "[A] B | src | own | replaced P Q R | unknownTrack"},
		{"ask Stop {'sourceName': 'T'}", "[A] B | src | own | replaced P Q R | otherSource"},
		{"ask Stop {'sourceName': 'S', 'sourceUuid': 'nobody'}", "[A] B | src | own | replaced P Q R | otherSource"},
		{"ask SelectSource {'sourceName': 'T', 'sourceUuid': 'nobody'}", "[A] B | src | own | replaced P Q R | unknownSource"},
		{"ask SetEndMode {'endMode': 7}", "[A] B | src | own | replaced P Q R | wrongType"},
		{"choose; ask GetQueue", "no source | noSource"},
		{"suspend; ask SelectSource {'sourceName': 'S'}", "no source | unavailable"},
		{"resume; choose S; suspend; ask PlayNext", "no source | unavailable"},
	});
	tell("the last places that there are", "P Q", {
		{"ask? tracks GetQueue {'offset': 2}", "{'tracks':[]}"},
		{"ask? tracks GetQueue {'limit': 0}", "{'tracks':[]}"},
		{"ask PlayTrack {'index': -1}", "[P] Q | src P Q | own | replaced - | indexOutOfRange"},
		{"ask MoveTrack {'id': '#P', 'index': 1}", "Q [P] | src P Q | own | replaced -"},
		{"ask AddTracks {'paths': [{'path': '@A'}], 'position': 2}; ask PlayTrack {'index': 2}", "Q P ▶[A] | src P Q | managed (own) | replaced - | waits"},
	});
	tell("times are those of the track that plays", "P Q", {
		{"start P; media playing 1500 4000; poll; ask? remainingMs GetQueue {'limit': 1, 'tags': true}", "{'remainingMs':2500}"},
		{"ask? remainingMs GetQueue {'limit': 0, 'tags': true}", "{'remainingMs':null}"},
		{"ask? remainingMs GetQueue {'offset': 1, 'tags': true}", "{'remainingMs':null}"},
		{"ask? remainingMs GetQueue {'limit': 2, 'tags': true}", "{'remainingMs':null}"},
		{"ask? remainingMs GetQueue {'limit': 1}", "{'remainingMs':null}"},
		{"media playing 5000 4000; poll; ask? remainingMs GetQueue {'limit': 1, 'tags': true}", "{'remainingMs':0}"},
		{"start Q; media playing 1500 4000; poll; ask? remainingMs GetQueue {'tags': true}", "{'remainingMs':2500}"},
		{"media playing -1 -1; ask? duration GetQueue", "{'duration':0}"},
		{"ask? cursor GetQueue", "{'cursor':0}"},
		{"media playing 1500 4000; play P; ask? all GetQueue {'limit': 0}", "{'canBringBack':false,'canUndo':false,'currentId':'#P','currentIndex':0,'cursor':0,'duration':0,'endMode':'stop','mediaState':'OBS_MEDIA_STATE_OPENING','queueDurationMs':0,'queueRemainingMs':0,'skipFailed':false,'sourceName':'S','sourceUuid':'S','startAgain':false,'success':true,'total':2,'tracks':[],'unknownLengths':2,'upcoming':[]}"},
		{"ask Pause", "▶[P] Q | src Q | managed | replaced - | waits | switching"},
		{"video; look; ask Pause; video", "▶[P] Q | src P | managed | replaced - | does pause"},
	});
	tell("events tell of each change once and in order", "P Q R", {
		{"look; told?; select P; moveDown; moveDown; wait 140; remove; wait 140; told?", "nothing"},
		{"wait 20; told?", "Queue 2"},
		{"undoRemove; play P; told?", "Queue 3, CurrentTrack P"},
		{"endMode Next; endMode Next; refresh; told?", "EndMode next, CurrentTrack"},
		{"ask SetSkipFailed {'enabled': true}; ask SetSkipFailed {'enabled': true}; startAgain; told?", "Options true false, Options true true"},
		{"suspend; wait 200; told?", "Queue 0, Options false false"},
		{"resume; wait 200; told?", "Queue 3, CurrentTrack, EndMode next, Options true true"},
		{"choose T; wait 200; told?", "Queue 2, EndMode stop, Options false false"},
		{"choose S; wait 200; told?", "Queue 3, EndMode next, Options true true"},
		{"select 0; burst 900; told?", "nothing"},
		{"burst 400; told?", "Queue 3"},
		{"wait 200; told?; rename S Z; look; told?", "Source"},
		{"wait 240; select 0; moveDown; rename S Z2; poll; told?", "Queue 3, Source"},
	});
	tell("events tell what becomes of the media", "P Q", {
		{"look; told?; play P; video; media ended; poll; media opening; poll; told?", "CurrentTrack P"},
		{"media playing 0 4000; poll; media paused; poll; media ended; look; told?", "MediaState P playing, MediaState P paused, MediaState P ended"},
		{"play Q; video; media playing; poll; media ended; look; told?", "CurrentTrack Q, MediaState Q playing, TrackFailed Q neverPlayed, MediaState Q ended"},
		{"play P; video; media playing; poll; media error; look; told?", "CurrentTrack P, MediaState P playing, TrackFailed P error, MediaState P stopped"},
		{"media playing; poll; told?; wait 200; drop A; media paused; poll; told?", "Queue 3, MediaState P paused"},
		{"choose; told?", "Queue 0, CurrentTrack, MediaState stopped"},
	});
	tell("between two tracks nothing is told, and a switch that was cancelled too late is one", "P Q R", {
		{"look; told?; endMode Next; start P; told?", "EndMode next, CurrentTrack P, MediaState P playing"},
		{"media ended; poll; video; media playing 9 4000; poll; told?", "CurrentTrack Q"},
		{"ends; wait 20; poll; video; told?", "CurrentTrack R"},
		{"media playing 9 4000; poll; media ended; poll; told?", "MediaState R ended"},
		{"start P; play Q; midway refresh; poll; media error; look; told?", "CurrentTrack P, MediaState P playing, CurrentTrack Q, TrackFailed Q error, MediaState Q stopped"},
		{"start P; media stopped; play Q; midway refresh; ask? mediaState GetQueue", "{'mediaState':'OBS_MEDIA_STATE_OPENING'}"},
		{"ask? upcoming GetQueue; start P; ask? upcoming GetQueue", "{'upcoming':[{'id':'#Q','index':1},{'id':'#R','index':2}]}"},
		{"endMode Repeat; ask? upcoming GetQueue", "{'upcoming':[]}"},
	});
	tell("a deck that sees the last event alone shows the truth once it rests", "P Q", {
		{"wait 200; told?; endMode Next; wait 40; deck?", "dark"},
		{"wait 10; deck?", "stopped|||2|||"},
		{"play P; deck?", "dark"},
		{"wait 50; deck?", "starting|P|1|2|Q||"},
		{"video; media playing 1000 4000; poll; wait 50; deck?", "playing|P|1|2|Q|0:03|"},
		{"media playing 2000 4000; wait 900; told?; deck?", "playing|P|1|2|Q|0:03|"},
		{"wait 100; deck?", "playing|P|1|2|Q|0:02|"},
		{"media paused 2000 4000; poll; deck?", "dark"},
		{"wait 50; endMode Repeat; wait 50; deck?", "paused|P|1|2||0:02|"},
		{"play Q; video; media error; look; wait 50; deck?", "stopped|Q|2|2|||Q"},
		{"remove; wait 200; deck?", "stopped|||1|||Q"},
	});
	tell("the view stays as it is", "P Q R", {
		{"select P Q; ask AddTracks {'paths': [{'path': '@A'}], 'position': 0}", "A [P] [Q] R | src P Q R | own | replaced -"},
		{"search /Q; ask RemoveTracks {'ids': [{'id': '#P'}]}", "(A) [Q] (R) | src P Q R | own | replaced -"},
		{"ask UndoRemove", "(A) (P) [Q] (R) | src P Q R | own | replaced -"},
		{"search; ask RemoveTracks {'ids': [{'id': '#Q'}]}", "A P [R] | src P Q R | own | replaced -"},
		{"ask RemoveTracks {'ids': [{'id': '#R'}, {'id': '#A'}]}", "[P] | src P Q R | own | replaced -"},
		{"drop Q R; search #2; ask RemoveTracks {'ids': [{'id': '#P'}]}", "(Q) [R] | src P Q R | own | replaced -"},
	});
	tell("rows do not move under the pointer", "A B C D E F G H I J K L M N O P Q R S T U V W X Y Z", {
		{"scroll 6; ask AddTracks {'paths': [{'path': '@a'}, {'path': '@b'}], 'position': 0}; top?", "G"},
		{"ask RemoveTracks {'ids': [{'id': '#A'}, {'id': '#G'}]}; top?", "H"},
		{"ask UndoRemove; ask MoveTrack {'id': '#B', 'index': 15}; top?", "H"},
		{"ask MoveTrack {'id': '#Z', 'index': 0}; ask AddTracks {'paths': [{'path': '@c'}]}; top?", "H"},
		{"ask MoveTrack {'id': '#H', 'index': 20}; top?", "I"},
		{"select J; choose T; choose S; top?", "I"},
		{"search /; scroll 9; ask RemoveTracks {'ids': [{'id': '#Z'}]}; top?", "I"},
	});
	tell("no source is a choice like any other", "P", {
		{"save T; choose T; leave T; look; come T; look", "[X] Y | src X Y | own | replaced -"},
		{"leave T; look; choose; come T; look", "no source"},
		{"choose T; leave T; look; ask SelectSource {'sourceUuid': ''}; come T; look", "no source"},
		{"choose T; leave T; look; choose; come T; ask SelectSource {'sourceName': 'T'}", "[X] Y | src X Y | own | replaced -"},
	});
	tell("a change is told although the source goes in its middle", "P", {
		{"look; told?; vanish; drop Q; wait 160; told?", "Queue 2"},
	});
	tell("TogglePlay is about the current track alone", "P Q R", {
		{"ask TogglePlay", "[P] Q R | src P Q R | own | replaced - | nothingToPlay"},
		{"start P; ask AddTracks {'paths': [{'path': '@C'}]}; select C; ask TogglePlay; video",
		 "▶P Q R [C] | src P | managed | replaced - | does pause"},
		{"media paused; ask TogglePlay; video", "▶P Q R [C] | src P | managed | replaced - | does play"},
		{"media playing; poll; media stopped; poll; ask TogglePlay", "▶[P] Q R C | src P | managed | replaced - | waits"},
		{"ask TogglePlay", "▶[P] Q R C | src P | managed | replaced - | waits | switching"},
	});
	tell("Play, Pause and Resume may be repeated", "P Q", {
		{"ask Pause; ask Play; video", "▶[P] Q | src P | managed | replaced - | does stop"},
		{"media playing 500 4000; poll; ask Play; ask Pause; ask Pause; video", "▶[P] Q | src P | managed | replaced - | does pause"},
		{"media paused 500 4000; poll; ask Resume; ask Resume; video", "▶[P] Q | src P | managed | replaced - | does play"},
		{"media playing; look; ask Pause; ask Resume; media paused; look; video", "▶[P] Q | src P | managed | replaced - | does pause, play, play"},
		{"media playing; look; ask Pause; ask Resume; media paused; ask TogglePlay; video", "▶[P] Q | src P | managed | replaced - | does pause, play, pause"},
		{"media playing; poll; media ended; poll; video; ask Resume; ask Play; ask Play", "▶[P] Q | src | managed | replaced - | waits | switching"},
		{"video; ask? mediaState GetQueue", "{'mediaState':'OBS_MEDIA_STATE_OPENING'}"},
		{"ask PlayTrack {'id': '#P', 'index': 1}", "▶[P] Q | src P | managed | replaced - | differentTracks"},
		{"ask Stop {'sourceUuid': 'nobody'}", "▶[P] Q | src P | managed | replaced - | otherSource"},
	});
}
