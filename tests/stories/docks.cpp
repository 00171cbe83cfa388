/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "Story.hpp"

// clang-format off: a line is a step and what comes of it

TEST_F(Story, Docks)
{
	tell("a source has one dock, and who has it keeps it", "P Q", {
		{"docks?", "1: [S] T | P Q"},
		{"addDock; docks?", "1: [S] T | P Q; 2: (S (Reelhouse)) T"},
		{"2: choose T; docks?", "1: [S] (T (Reelhouse 2)) | P Q; 2 · T: (S (Reelhouse)) [T] | X Y"},
		{"ask? sources GetSources", "{'sources':[{'dock':1,'label':'S','selected':true,'sourceName':'S','sourceUuid':'S'},{'dock':2,'label':'T','selected':false,'sourceName':'T','sourceUuid':'T'}]}"},
		{"choose 2); docks?", "1: [S] (T (Reelhouse 2)) | P Q; 2 · T: (S (Reelhouse)) [T] | X Y"},
		{"ask? all SelectSource {'sourceName': 'T'}", "{'comment':'The source is in another dock: Reelhouse 2','error':'sourceTaken','success':false}"},
		{"rename T U; poll; look; docks?", "1: [S] (U (Reelhouse 2)) | P Q; 2 · U: (S (Reelhouse)) [U] | X Y"},
		{"choose; docks?", "1: S (U (Reelhouse 2)); 2 · U: S [U] | X Y"},
		{"2: choose S; docks?", "1: (S (Reelhouse 2)) U; 2 · S: [S] U | P Q"},
		{"choose U; 2: choose; choose S; docks?", "1: [S] U | P Q; 2: (S (Reelhouse)) U"},
		{"addDock; addDock; toolsMenu?", "Reelhouse: Reelhouse, Reelhouse 2, Reelhouse 3, Reelhouse 4, , -Add Another Dock"},
		{"docks?", "1: [S] U | P Q; 2: (S (Reelhouse)) U; 3: (S (Reelhouse)) U; 4: (S (Reelhouse)) U"},
		{"tools?", "-findMissingFiles -bringBackReplacedQueue"},
		{"dropDock 3; 4: choose U; toolsMenu?", "Reelhouse: Reelhouse, Reelhouse 2, Reelhouse 4 · U, , Add Another Dock"},
		{"addDock; dropDock 4; dropDock 2; docks?", "1: [S] U | P Q; 3: (S (Reelhouse)) U"},
		{"addDock; 2: choose U; wait 200; told?; dropDock; told?", "2: Queue 0"},
		{"dropDock 3; toolsMenu?", "Reelhouse: Import Playlist…, Export Playlist…, -Find Missing Files…, , Shuffle Queue, -Bring Back Replaced Queue, , Hold Picture Between Tracks, Skip Tracks That Cannot Play, Start Again After Last Track, , Show Current Track In, , Add Another Dock"},
	});
	tell("a dock waits for its source, and for the dock that has it", "P Q", {
		{"addDock; 2: choose T; save T; leave T; look; docks?", "1: [S] | P Q; 2: (S (Reelhouse))"},
		{"come T; look; docks?", "1: [S] (T (Reelhouse 2)) | P Q; 2 · T: (S (Reelhouse)) [T] | X Y"},
		{"save T; leave T; look; come T; refresh; choose T; look; docks?", "1: S [T] | X Y; 2: S (T (Reelhouse))"},
		{"2: empty?", "[X] Y | src X Y | own | replaced - | Reelhouse has the source T already."},
		{"save T; leave T; look; come T; 2: refresh; docks?", "1: S [T] | X Y; 2: S (T (Reelhouse))"},
		{"save T; leave T; look; come T; ask SelectSource {'dock': 2, 'sourceName': 'T'}", "[X] Y | src X Y | own | replaced - | sourceTaken"},
		{"choose S; docks?", "1: [S] (T (Reelhouse 2)) | P Q; 2 · T: (S (Reelhouse)) [T] | X Y"},
		{"restart; docks?", "1: [S] (T (Reelhouse 2)) | P Q; 2 · T: (S (Reelhouse)) [T] | X Y"},
		{"collection T; docks?", "1: (T (Reelhouse 2)); 2 · T: [T] | X Y"},
		{"collection S T; docks?", "1: [S] (T (Reelhouse 2)) | P Q; 2 · T: (S (Reelhouse)) [T] | X Y"},
		{"rename T R&B; poll; look; docks?", "1: (R&B (Reelhouse 2)) [S] | P Q; 2 · R&B: [R&B] (S (Reelhouse)) | X Y"},
		{"toolsMenu?", "Reelhouse: Reelhouse, Reelhouse 2 · R&&B, , Add Another Dock"},
		{"dropDock; choose; collection S; addDock; 2: choose S; collection T; docks?", "1: R&B; 2: R&B"},
	});
	tell("each queue goes on as if it were alone", "P Q R", {
		{"addDock; 2: choose T; endMode Next; 2: endMode Next; start P; 2: play X; video T; docks?", "1: [S] (T (Reelhouse 2)) | ▶P Q R; 2 · T: (S (Reelhouse)) [T] | ▶X Y"},
		{"own next; video; docks?", "1: [S] (T (Reelhouse 2)) | P ▶Q R; 2 · T: (S (Reelhouse)) [T] | ▶X Y"},
		{"2: next; video; docks?", "1: [S] (T (Reelhouse 2)) | P ▶Q R; 2 · T: (S (Reelhouse)) [T] | X ▶Y"},
		{"video T; edit T Z; look; docks?", "1: [S] (T (Reelhouse 2)) | P ▶Q R; 2 · T: (S (Reelhouse)) [T] | Z"},
		{"ask Stop {'sourceName': 'T'}; video T", "P ▶[Q] R | src Q | managed | replaced - | next"},
		{"ask AddTracks {'sourceName': 'T', 'paths': [{'path': '@A'}]}; docks?", "1: [S] (T (Reelhouse 2)) | P ▶Q R; 2 · T: (S (Reelhouse)) [T] | Z A"},
		{"ask Stop {'sourceName': 'W'}", "P ▶[Q] R | src Q | managed | replaced - | next | otherSource"},
		{"ask? all SelectSource {'dock': 2, 'sourceUuid': ''}", "{'currentId':'','currentIndex':-1,'mediaState':'OBS_MEDIA_STATE_STOPPED','success':true}"},
		{"ask SelectSource {'dock': 3, 'sourceUuid': ''}", "P ▶[Q] R | src Q | managed | replaced - | next | indexOutOfRange"},
		{"2: choose T; 2: play A; dropDock; docks?", "1: [S] (T (Reelhouse 2)) | P ▶Q R; 2 · T: (S (Reelhouse)) [T] | Z ▶A"},
		{"video T; wait 1; docks?", "1: [S] T | P ▶Q R"},
		{"choose T", "[Z] ▶A | src A | managed | replaced X Y | next | does stop, stop, stop, stop"},
		{"addDock; 2: choose S; wait 600; told?; 2: drop B; drop C; wait 200; told?", "2: Queue 4, Queue 3"},
		{"saves?; wait 600; saves?", "1"},
		{"dropDock; saves?", "1"},
		{"addDock; restart; docks?", "1: S [T] | Z ▶A C; 2: S (T (Reelhouse))"},
		{"2: choose S; choose; ask Stop {'sourceName': 'W'}", "no source | otherSource"},
		{"2: play P; dropDock; suspend; resume; docks?", "1: S T"},
		{"choose S", "P [Q] R B | src Q | managed | replaced - | next"},
		{"choose; suspend; addDock; docks?", "1: ; 2: "},
		{"resume; docks?", "1: S T; 2: S T"},
		{"loseDock; toolsMenu?", "Reelhouse: -Import Playlist…, -Export Playlist…, -Find Missing Files…, , -Shuffle Queue, -Bring Back Replaced Queue, , -Hold Picture Between Tracks, -Skip Tracks That Cannot Play, -Start Again After Last Track, , Show Current Track In, , Add Another Dock"},
	});
}
