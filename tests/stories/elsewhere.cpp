/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "Story.hpp"

// clang-format off: a line is a step

TEST_F(Story, Elsewhere)
{
	tell("an edit elsewhere, and the way back", "P Q R S", {
		{"start Q; endMode Next; elsewhere Q T", "[Q] T | src Q T | own (managed) | kept P Q R S | next"},
		{"bringBack", "[P] Q R S | src Q T | managed | kept Q T | next"},
		{"bringBack", "[Q] T | src Q T | own (managed) | kept P Q R S | next"},
		{"bringBack; elsewhere P Q", "[P] Q | src P Q | own (managed) | kept P Q R S | next"},
		{"restorePlaylist", "[P] Q | src P Q | own (managed) | kept P Q R S | next"},
		{"bringBack", "[P] Q R S | src P Q | managed | kept P Q | next"},
		{"restorePlaylist", "[P] Q R S | src P Q R S | own | kept P Q | next"},
	});
	tell("what is no edit, and one that a switch overtakes", "P Q R", {
		{"elsewhere P Q R", "[P] Q R | src P Q R | own | kept -"},
		{"start P; elsewhere P", "▶[P] Q R | src P | managed | kept -"},
		{"play Q; edit S A; look", "P ▶[Q] R | src A | managed | kept - | waits"},
		{"video", "P ▶[Q] R | src Q | managed | kept - | does stop | scene"},
		{"play R; edit S B; refresh", "P Q [R] | src B | managed | kept -"},
	});
	tell("while a switch waits, the playlist is taken for what was seen", "P Q", {
		{"elsewhere A B; play A; edit S C", "▶[A] B | src C | managed (own) | kept P Q | waits"},
		{"bringBack", "[P] Q | src C | own | kept A B"},
		{"video", "[P] Q | src C | own | kept A B | does stop"},
	});
	tell("folders, and a queue that was empty", "", {
		{"edit S M/B.flac M/c.txt M/a.mp3 M/.h.mp3 M/n/c.mp3; elsewhere M/ file:///m/ http://h/U M/a.mp3", "[M/a.mp3] M/B.flac file:///m/ http://h/U M/a.mp3 | src M file:///m/ http://h/U M/a.mp3 | own | kept -"},
		{"edit S M/ file:///m/ http://h/U M/a.mp3; refresh", "[M/a.mp3] M/B.flac file:///m/ http://h/U M/a.mp3 | src M file:///m/ http://h/U M/a.mp3 | own | kept -"},
		{"bringBack", "[M/a.mp3] M/B.flac file:///m/ http://h/U M/a.mp3 | src M file:///m/ http://h/U M/a.mp3 | own | kept -"},
		{"elsewhere", "∅ | src | own | kept M/a.mp3 M/B.flac file:///m/ http://h/U M/a.mp3"},
	});
	tell("the queue that the user last made or played is the queue, or the one kept aside", "P Q R S", {
		{"start P; elsewhere P E", "[P] E | src P E | own (managed) | kept P Q R S"},
		{"elsewhere P E F", "[P] E F | src P E F | own (managed) | kept P Q R S"},
		{"elsewhere P", "[P] | src P | own (managed) | kept P Q R S"},
		{"bringBack", "▶[P] Q R S | src P | managed | kept P"},
		{"elsewhere X", "[X] | src X | own (managed) | kept P Q R S"},
		{"drop E; elsewhere Y Z", "[Y] Z | src Y Z | own (managed) | kept X E"},
		{"endMode Next; refresh; select Z; search /Z; search; elsewhere A B",
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
		{"elsewhere X Z; bringBack; bringBack; elsewhere Y", "[Y] | src Y | own | kept P Q"},
		{"elsewhere X Y Z; edit S A B; bringBack", "[P] Q | src A B | own | kept A B"},
		{"bringBack", "[A] B | src A B | own | kept P Q"},
		{"drop C; edit S D; bringBack", "[P] Q | src D | own | kept A B C"},
	});
}
