/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "Story.hpp"

// clang-format off: a line is a step

TEST_F(Story, Editing)
{
	tell("tracks are added, removed and brought back", "P Q R", {
		{"start Q; drop A P", "P ▶Q R A [P] | src Q | managed | replaced -"},
		{"select 0 R; remove; offers?", "Pause, not moveUp moveTop"},
		{"drop B; undoRemove", "[P] ▶Q R A P B | src Q | managed | replaced -"},
		{"select Q A; remove", "P [R] P B | src | managed | replaced -"},
		{"video; undoRemove", "P [Q] R A P B | src | managed | replaced -"},
		{"play R; select R; remove", "P Q [A] P B | src | managed | replaced -"},
		{"select 0 1 2 3 4 5; remove; offers?", "Pause, not playPause previous next moveUp moveDown moveTop moveBottom remove locateCurrent openFolder"},
		{"undoRemove", "[P] Q A P B | src | managed | replaced -"},
		{"select Q; remove; refresh; undoRemove", "P [A] P B | src | managed | replaced -"},
	});
	tell("what the search hides is not acted on", "P Q R Pa", {
		{"select P Q; search /P; offers?", "Play Selected, not seek moveUp moveDown moveTop moveBottom undoRemove locateCurrent"},
		{"remove", "(Q) (R) [Pa] | src P Q R Pa | own | replaced -"},
		{"search #2", "(Q) [R] (Pa) | src P Q R Pa | own | replaced -"},
		{"search #x; playPause", "(Q) (R) (Pa) | src P Q R Pa | own | replaced -"},
		{"search  /pA ", "(Q) (R) [Pa] | src P Q R Pa | own | replaced -"},
		{"drop A", "Q R Pa [A] | src P Q R Pa | own | replaced -"},
		{"search /r; drag R 0; locateCurrent", "(Q) [R] (Pa) (A) | src P Q R Pa | own | replaced -"},
		{"start Q; search /R; locateCurrent; focus?", "playlist"},
	});
	tell("rows move", "P Q R S", {
		{"select Q; moveUp; offers?", "Play Selected, not seek moveUp moveTop undoRemove locateCurrent"},
		{"moveUp; moveDown", "P [Q] R S | src P Q R S | own | replaced -"},
		{"moveBottom; offers?", "Play Selected, not seek moveDown moveBottom undoRemove locateCurrent"},
		{"moveTop; drag Q 2", "P R [Q] S | src P Q R S | own | replaced -"},
		{"start R; moveTop", "▶[R] P Q S | src R | managed | replaced -"},
		{"select P Q; moveUp", "▶R [P] [Q] S | src R | managed | replaced -"},
	});
	tell("the menu acts on the rows that it was opened on", "P Q R S", {
		{"select P Q; menu Q; close; offers?", "Play Selected, not seek moveUp moveDown moveTop moveBottom undoRemove locateCurrent openFolder"},
		{"menu R; select S; moveTop; close", "[R] P Q S | src P Q R S | own | replaced -"},
		{"menu Q; search /P; moveBottom; close; search", "R [P] Q S | src P Q R S | own | replaced -"},
		{"menu R; search /R; moveBottom; close; search", "[R] P Q S | src P Q R S | own | replaced -"},
		{"menu P; elsewhere X Y; select X; offers?", "Play Selected, not seek moveUp moveDown moveTop moveBottom remove undoRemove locateCurrent openFolder"},
		{"close; offers?", "Play Selected, not seek moveUp moveTop undoRemove locateCurrent"},
		{"menu; offers?", "Play, not playPause seek moveUp moveDown moveTop moveBottom remove undoRemove locateCurrent openFolder"},
	});
	tell("each source has its view, which fits only the same search", "P Q R", {
		{"select R; choose T; select Y; choose S", "P Q [R] | src P Q R | own | replaced -"},
		{"choose T", "X [Y] | src X Y | own | replaced -"},
		{"search /P; choose S", "[P] (Q) (R) | src P Q R | own | replaced -"},
		{"search; choose; choose S", "[P] Q R | src P Q R | own | replaced -"},
	});
	tell("keys", "P Q R", {
		{"focus playlist; select Q; key Return", "P ▶[Q] R | src P Q R | managed (own) | replaced - | waits"},
		{"key Ctrl+F; key Del; focus?", "search"},
		{"search /R; key Return", "(P) (Q) ▶[R] | src P Q R | managed (own) | replaced - | waits"},
		{"key Esc", "P Q ▶[R] | src P Q R | managed (own) | replaced - | waits"},
		{"focus?", "playlist"},
	});
	tell("changes are saved half a second after the last", "P", {
		{"wait 600; saves?; endMode Next; wait 400; endMode Repeat; wait 400; saves?", "0"},
		{"wait 100; saves?", "1"},
		{"drop Q; burst 6000; saves?", "1"},
		{"wait 2000; saves?; rename T Z; look; wait 600; saves?", "0"},
		{"wait 2000; endMode Stop; suspend; wait 6000; saves?", "0"},
	});
	tell("Return plays nothing that the search hides", "P Q R S", {
		{"endMode Next; start P; search /S; focus search; media ended; poll; video", "(P) ▶([Q]) (R) S | src Q | managed | replaced - | next | does stop"},
		{"key Return", "(P) ▶(Q) (R) [S] | src Q | managed | replaced - | next"},
		{"key Return", "(P) (Q) (R) ▶[S] | src Q | managed | replaced - | next | waits"},
	});
}
