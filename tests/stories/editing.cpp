/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "Story.hpp"

TEST_F(Story, Editing)
{
	tell("tracks are added, removed and brought back", "P Q R", {
		{"start Q; drop A P", ""},
		{"select 0 R; remove; offers?", ""},
		{"drop B; undoRemove", ""},
		{"select Q A; remove", ""},
		{"video; undoRemove", ""},
		{"play R; select R; remove", ""},
		{"select 0 1 2 3 4 5; remove; offers?", ""},
		{"undoRemove", ""},
		{"select Q; remove; refresh; undoRemove", ""},
	});
	tell("what the search hides is not acted on", "P Q R Pa", {
		{"select P Q; search P; offers?", ""},
		{"remove", ""},
		{"search #2", ""},
		{"search #x; offers?", ""},
		{"playPause", ""},
		{"search  pA ; drop A", ""},
		{"search r; drag R 0; locateCurrent", ""},
		{"start Q; search R; locateCurrent; focus?", ""},
	});
	tell("rows move", "P Q R S", {
		{"select Q; offers?", ""},
		{"moveUp; offers?", ""},
		{"moveUp; moveDown", ""},
		{"moveBottom; offers?", ""},
		{"moveTop; drag Q 2", ""},
		{"start R; moveTop", ""},
		{"select P Q; moveUp", ""},
	});
	tell("the menu acts on the rows that it was opened on", "P Q R S", {
		{"select P Q; menu Q; close; offers?", ""},
		{"menu R; select S; moveTop; close", ""},
		{"menu Q; search P; moveBottom; close; search", ""},
		{"menu P; elsewhere X Y; select X; offers?", ""},
		{"close; offers?", ""},
		{"menu; offers?", ""},
	});
	tell("each source has its view, which fits only the same search", "P Q R", {
		{"select R; choose T; select Y; choose S", ""},
		{"choose T", ""},
		{"search P; choose S", ""},
		{"search; choose; choose S", ""},
	});
	tell("keys", "P Q R", {
		{"focus playlist; select Q; key Return", ""},
		{"key Ctrl+F; key Del; focus?", ""},
		{"search R; key Return", ""},
		{"key Esc; key Del", ""},
		{"key Ctrl+Z; key Enter", ""},
	});
	tell("changes are saved half a second after the last", "P", {
		{"wait 600; saves?", ""},
		{"endMode Next; wait 400; endMode Repeat; wait 400; saves?", ""},
		{"wait 100; saves?", ""},
		{"drop Q; burst 6000; saves?", "1"},
		{"wait 2000; endMode Stop; suspend; wait 600; saves?", ""},
	});
}
