/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "Story.hpp"

// clang-format off: a line is a step

TEST_F(Story, Editing)
{
	tell("tracks are added, removed and brought back", "P Q R", {
		{"start Q; drop A P", "P ▶Q R A [P] | src Q | managed | replaced -"},
		{"select 0 R; remove; drop B; undoRemove", "[P] ▶Q R A P B | src Q | managed | replaced -"},
		{"select Q A; remove", "P [R] P B | src | managed | replaced -"},
		{"video; undoRemove", "P [Q] R A P B | src | managed | replaced -"},
		{"play R; select R; remove", "P Q [A] P B | src | managed | replaced -"},
		{"select 0 1 2 3 4 5; remove; undoRemove", "[P] Q A P B | src | managed | replaced -"},
		{"select Q; remove; refresh; undoRemove", "P [A] P B | src | managed | replaced -"},
	});
	tell("an empty queue leaves the source nothing to play", "P Q", {
		{"select P Q; remove", "∅ | src | managed (own) | replaced -"},
		{"undoRemove; start Q; ask MoveTrack {'id': '#Q', 'index': 0}; undoRemove", "▶[Q] P | src Q | managed | replaced -"},
	});
	tell("what the search hides is not acted on", "P Q R Pa", {
		{"select P Q; search /P; remove", "(Q) (R) [Pa] | src P Q R Pa | own | replaced -"},
		{"search #2", "(Q) [R] (Pa) | src P Q R Pa | own | replaced -"},
		{"search #x; playPause", "(Q) (R) (Pa) | src P Q R Pa | own | replaced -"},
		{"search  /pA ", "(Q) (R) [Pa] | src P Q R Pa | own | replaced -"},
		{"drop A", "Q R Pa [A] | src P Q R Pa | own | replaced -"},
		{"search /r; drag R 0; locateCurrent", "(Q) [R] (Pa) (A) | src P Q R Pa | own | replaced -"},
		{"start Q; search /R; focus endMode; locateCurrent; focus?", "playlist"},
		{"look", "▶[Q] R Pa A | src Q | managed | replaced -"},
		{"search /; select Pa; ask AddTracks {'paths': [{'path': '@B'}]}", "▶Q R [Pa] A B | src Q | managed | replaced -"},
		{"search /none; empty?", "No track matches the search."},
	});
	tell("rows move", "P Q R S", {
		{"select Q; select; select Q; moveUp", "[Q] P R S | src P Q R S | own | replaced -"},
		{"moveUp; moveDown", "P [Q] R S | src P Q R S | own | replaced -"},
		{"moveBottom", "P R S [Q] | src P Q R S | own | replaced -"},
		{"moveTop; drag Q 2", "P R [Q] S | src P Q R S | own | replaced -"},
		{"start R; moveTop", "▶[R] P Q S | src R | managed | replaced -"},
		{"select P Q; moveUp", "▶R [P] [Q] S | src R | managed | replaced -"},
	});
	tell("dragged rows stay in their order, between the rows that they are dropped on", "P Q R S T", {
		{"select P R S; moveOnto T lower", "Q T [P] [R] [S] | src P Q R S T | own | replaced -"},
		{"drag Q 1; drag Q 0; select S T P; moveOnto Q upper", "[T] [P] [S] Q R | src P Q R S T | own | replaced -"},
		{"elsewhere A B; select A; moveOnto A lower; elsewhere C", "[C] | src C | own | replaced T P S Q R"},
	});
	tell("the menu acts on the rows that it was opened on", "P Q R S", {
		{"select P Q; menu Q; close; menu R; select S; moveTop; close", "[R] P Q S | src P Q R S | own | replaced -"},
		{"menu P; select S; atOnce close + moveTop", "[P] R Q S | src P Q R S | own | replaced -"},
		{"menu P; menu S; offers?", "Play Selected, not seek moveDown moveBottom undoRemove locateCurrent"},
		{"close; select R; moveOnto P upper", "[R] P Q S | src P Q R S | own | replaced -"},
		{"menu Q; search /P; moveBottom; close; search", "R [P] Q S | src P Q R S | own | replaced -"},
		{"menu R; search /R; moveBottom; close; search", "[R] P Q S | src P Q R S | own | replaced -"},
		{"menu P; elsewhere X Y; select X; offers?", "Play Selected, not seek moveUp moveDown moveTop moveBottom remove undoRemove locateCurrent openFolder"},
		{"close; menu; offers?", "Play, not playPause seek moveUp moveDown moveTop moveBottom remove undoRemove locateCurrent openFolder"},
		{"close; select X; menu key; remove; close", "[Y] | src X Y | own | replaced R P Q S"},
	});
	tell("each source has its view, which fits only the same search", "P Q R", {
		{"select R; choose T; select Y; choose S", "P Q [R] | src P Q R | own | replaced -"},
		{"choose T", "X [Y] | src X Y | own | replaced -"},
		{"search /; choose S", "[P] Q R | src P Q R | own | replaced -"},
		{"search; choose; choose S", "[P] Q R | src P Q R | own | replaced -"},
		{"select R; suspend; resume", "P Q [R] | src P Q R | own | replaced -"},
	});
	tell("a message goes with the next success", "P Q R", {
		{"gone Q; play Q; moveDown", "Q [P] R | src P Q R | own | replaced -"},
		{"play Q; drop A", "Q P R [A] | src P Q R | own | replaced -"},
		{"play Q; select P; remove", "Q [R] A | src P Q R | own | replaced -"},
		{"play Q; undoRemove", "Q [P] R A | src P Q R | own | replaced -"},
		{"play Q; ask RemoveTracks {'ids': [{'id': '#P'}]}", "Q [R] A | src P Q R | own | replaced -"},
		{"play Q; ask UndoRemove", "Q P [R] A | src P Q R | own | replaced -"},
		{"play Q; ask MoveTrack {'id': '#A', 'index': 0}", "A Q P [R] | src P Q R | own | replaced -"},
		{"play Q; ask AddTracks {'paths': [{'path': '@B'}]}", "A Q P [R] B | src P Q R | own | replaced -"},
		{"play Q; search /A; search", "[A] Q P R B | src P Q R | own | replaced - | ⚠ File not found: Q"},
		{"restorePlaylist", "[A] Q P R B | src A Q P R B | own | replaced -"},
		{"play Q; refresh", "[A] Q P R B | src A Q P R B | own | replaced -"},
		{"play Q; locateCurrent; look", "[A] Q P R B | src A Q P R B | own | replaced - | ⚠ File not found: Q"},
		{"start A; play Q; locateCurrent", "▶[A] Q P R B | src A | managed | replaced -"},
		{"play Q; stop", "▶[A] Q P R B | src | managed | replaced -"},
		{"video; play Q; elsewhere Q", "[Q] | src Q | own (managed) | replaced A Q P R B"},
		{"play Q; bringBack", "A ▶[Q] P R B | src Q | managed | replaced Q"},
		{"play Q; suspend", "no source"},
		{"resume; play Q; choose T; stop; choose S", "A ▶[Q] P R B | src Q | managed | replaced Q"},
	});
	tell("the folder of a track", "M/a http://h/U", {
		{"select http://h/U M/a; focus playlist; key Ctrl+Space; select http://h/U; openFolder; gone M/; select M/a; openFolder", "[M/a] http://h/U | src M/a http://h/U | own | replaced - | ⚠ Could not open the folder M"},
	});
	tell("what is there to read", "", {
		{"names?", "addFiles: Add Files -plus, sourceSelector: Select a VLC Video Source The VLC Video Source that this dock works on, refresh: Refresh -refresh, search: Search or #number, previous: Previous -media-prev, playPause: Play -media-play, stop: Stop -media-stop, next: Next -media-next, seek: Elapsed time, endMode: When a Track Ends What happens when a track ends, Move Up, Move Down, Move to Top, Move to Bottom, Remove, Undo Remove, Show Current Track, Show in Folder, Give Playlist Back to Source, About Reelhouse, Stop, Play Next, Repeat"},
		{"empty?", "The queue is empty."},
		{"drop A; empty?", "The tracks of the queue; Return plays the selected one"},
		{"choose; empty?", "No source is chosen."},
		{"delete S; delete T; look; empty?", "This scene collection has no VLC Video Source."},
		{"suspend; empty?", "The tracks of the queue; Return plays the selected one"},
	});
	tell("keys", "P Q R", {
		{"focus playlist; select Q; key Return", "P ▶[Q] R | src P Q R | managed (own) | replaced - | waits"},
		{"video; select R; key Enter", "P Q ▶[R] | src Q | managed | replaced - | waits"},
		{"video", "P Q ▶[R] | src R | managed | replaced - | does stop | scene"},
		{"key Ctrl+F; key Del; focus?", "search"},
		{"search /R; key Shift+Esc; key Return", "(P) (Q) ▶[R] | src R | managed | replaced - | waits"},
		{"key Esc", "P Q ▶[R] | src R | managed | replaced - | waits"},
		{"focus?", "playlist"},
		{"search /P; focus playlist; key Esc; key Ctrl+A", "[P] [Q] ▶[R] | src R | managed | replaced - | waits"},
		{"focus addFiles; key Tab; key Tab; key Tab; key Tab; focus?", "playlist"},
		{"select R; search /P; key Ctrl+F; key Right; key Ctrl+F; key /", "[P] Q ▶R | src R | managed | replaced - | waits"},
	});
	tell("what the search hides stays, even in a selection across it", "V/a Q W/a", {
		{"search /a; select 0 1 2; remove; search", "[Q] | src V/a Q W/a | own | replaced -"},
	});
	tell("changes are saved half a second after the last", "P", {
		{"wait 600; saves?; endMode Next; wait 400; endMode Repeat; wait 400; saves?", "0"},
		{"wait 130; saves?", "1"},
		{"drop Q; burst 6000; saves?", "1"},
		{"wait 2000; saves?", "1"},
		{"rename T Z; look; ask SetSkipFailed {'enabled': false}; wait 600; saves?", "0"},
		{"endMode Stop; suspend; wait 6000; saves?", "0"},
	});
	tell("Return plays nothing that the search hides", "P Q R S", {
		{"endMode Next; start P; search /S; focus search; media ended; poll; video", "(P) ▶([Q]) (R) S | src Q | managed | replaced - | next | does stop"},
		{"key Return", "(P) ▶(Q) (R) [S] | src Q | managed | replaced - | next"},
		{"key Return", "(P) (Q) (R) ▶[S] | src Q | managed | replaced - | next | waits"},
	});
}
