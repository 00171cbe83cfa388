/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "Story.hpp"

TEST_F(Story, Elsewhere)
{
	tell("an edit elsewhere, and the way back", "P Q R S", {
		{"start Q; endMode Next; elsewhere Q T", ""},
		{"bringBack", ""},
		{"bringBack", ""},
		{"bringBack; elsewhere P Q", ""},
		{"restorePlaylist", ""},
		{"bringBack", ""},
		{"restorePlaylist", ""},
	});
	tell("what is no edit, and one that a switch overtakes", "P Q R", {
		{"elsewhere P Q R", ""},
		{"start P; elsewhere P", ""},
		{"play Q; edit S A; look", ""},
		{"video", ""},
		{"play R; edit S B; refresh", ""},
	});
	tell("while a switch waits, the playlist is taken for what was seen", "P Q", {
		{"elsewhere A B; play A; edit S C", ""},
		{"bringBack", ""},
		{"video", ""},
	});
	tell("folders, and a queue that was empty", "", {
		{"edit S F/B.flac F/c.txt F/a.mp3 F/.h.mp3 F/n/c.mp3; elsewhere F/ file:///m/ http://h/U F/a.mp3", ""},
		{"edit S F/ file:///m/ http://h/U F/a.mp3; refresh", ""},
		{"bringBack", ""},
		{"elsewhere", ""},
	});
}

TEST_F(Story, KeptQueue)
{
	tell("the queue that the user last made or played is the queue, or the one kept aside", "P Q R S", {
		{"start P; elsewhere P E", "[P] E | src P E | own (managed) | kept P Q R S"},
		{"elsewhere P E F", "[P] E F | src P E F | own (managed) | kept P Q R S"},
		{"elsewhere P", "[P] | src P | own (managed) | kept P Q R S"},
		{"bringBack", "▶[P] Q R S | src P | managed | kept P"},
		{"elsewhere X", "[X] | src X | own (managed) | kept P Q R S"},
		{"drop E; elsewhere Y Z", "[Y] Z | src Y Z | own (managed) | kept X E"},
		{"endMode Next; refresh; select Z; search Z; search; elsewhere A B",
		 "[A] B | src A B | own (managed) | kept X E | next"},
		{"start B; elsewhere C", "[C] | src C | own (managed) | kept A B | next"},
		{"start C; elsewhere D", "[D] | src D | own (managed) | kept A B | next"},
		{"restart; elsewhere E F", "[E] F | src E F | own (managed) | kept A B | next"},
		{"select E; moveDown; restart; elsewhere X", "[X] | src X | own (managed) | kept F E | next"},
		{"select X; remove; elsewhere Y", "[Y] | src Y | own (managed) | kept F E | next"},
		{"drop Z; select Z; remove; elsewhere A B", "[A] B | src A B | own (managed) | kept F E | next"},
		{"select A; remove; undoRemove; elsewhere C", "[C] | src C | own (managed) | kept A B | next"},
	});
	tell("what is brought back is what was kept when asking, and no queue of the user's own is lost", "P Q", {
		{"elsewhere X Y Z; edit S A B; bringBack", "[P] Q | src A B | own | kept A B"},
		{"bringBack", "[A] B | src A B | own | kept P Q"},
		{"drop C; edit S D; bringBack", "[P] Q | src D | own | kept A B C"},
	});
}
