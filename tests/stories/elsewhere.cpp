/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "Story.hpp"

// clang-format off: a line is a step

TEST_F(Story, Elsewhere)
{
	tell("an edit elsewhere, and the way back", "P Q R S", {
		{"start Q; endMode Next; elsewhere Q T", "[Q] T | src Q T | own (managed) | replaced P Q R S | next"},
		{"bringBack", "[P] Q R S | src Q T | own (managed) | replaced Q T | next"},
		{"elsewhere P Q", "[P] Q | src P Q | own (managed) | replaced P Q R S | next"},
		{"bringBack", "[P] Q R S | src P Q | own (managed) | replaced P Q | next"},
		{"restorePlaylist", "[P] Q R S | src P Q R S | own (managed) | replaced P Q | next"},
	});
	tell("what is no edit, and one that a switch overtakes", "P Q R", {
		{"elsewhere P Q R", "[P] Q R | src P Q R | own | replaced -"},
		{"start P; elsewhere P", "▶[P] Q R | src P | managed | replaced -"},
		{"play Q; edit S A; look", "P ▶[Q] R | src A | managed | replaced - | waits"},
		{"video", "P ▶[Q] R | src Q | managed | replaced - | does stop | scene"},
		{"play R; edit S B; refresh", "P Q [R] | src B | managed | replaced -"},
	});
	tell("while a switch waits, the playlist is taken for what was seen", "P Q", {
		{"elsewhere A B; play A; edit S C", "▶[A] B | src C | managed (own) | replaced P Q | waits"},
		{"bringBack; wait 750", "▶[A] B | src C | managed (own) | replaced P Q | waits"},
		{"wait 250; video", "[P] Q | src C | own | replaced A B | does stop"},
		{"play P; bringBack; wait 750; video", "[A] B | src P | own (managed) | replaced P Q | does stop | scene"},
		{"play A; bringBack; bringBack; stop; poll", "[P] Q | src | own (managed) | replaced A B"},
		{"play P; bringBack; choose T; choose S; video", "[P] Q | src | managed | replaced A B | does stop, stop, stop"},
		{"wait 2000", "[P] Q | src | managed | replaced A B"},
	});
	tell("what the source holds says whether it is managed after Bring Back", "A B C", {
		{"select C; moveTop; elsewhere A B; start A; bringBack", "C ▶[A] B | src A | managed | replaced A B"},
		{"restart; next; video", "C A ▶[B] | src B | managed | replaced A B | does stop"},
		{"bringBack; restart; media playing; poll; endMode Next; media ended; poll; video", "A ▶[B] | src | managed | replaced C A B | next | does stop"},
		{"restorePlaylist", "A [B] | src A B | own | replaced C A B | next"},
		{"start B; elsewhere X; bringBack", "[A] B | src X | own (managed) | replaced X | next"},
		{"restorePlaylist", "[A] B | src A B | own | replaced X | next"},
	});
	tell("every command acts on what is there", "P Q R", {
		{"start P; edit S X Q Y; play Q", "X ▶[Q] Y | src X Q Y | managed | replaced P Q R | waits"},
		{"video; edit S A B; next; video", "▶[A] B | src A | managed | replaced X Q Y | does stop"},
		{"edit S A A B A B; select B; playPause", "A A ▶[B] A B | src A A B A B | managed | replaced A B | waits"},
		{"video; edit S A C; play 2", "[A] C | src A C | own (managed) | replaced A A B A B"},
		{"edit S C D A; select 1 A; remove", "[D] | src C D A | own (managed) | replaced A A B A B"},
		{"edit S D E; stop; restorePlaylist; video", "[D] E | src D E | own (managed) | replaced D | does stop"},
		{"edit S E; restorePlaylist", "[E] | src E | own (managed) | replaced D"},
		{"edit S E F; drop G", "E F [G] | src E F | own (managed) | replaced D"},
		{"start E; edit S X Y; select E; remove; drop Z", "X Y [Z] | src X Y | own (managed) | replaced E F G"},
		{"endMode Next; start X; edit S A B; media ended; poll", "[A] B | src A B | own (managed) | replaced X Y Z | next"},
		{"start A; edit S C D; own next; video", "[C] D | src C D | own (managed) | replaced A B | next | does next"},
		{"edit S E F; ask PlayTrack {'id': '#C'}", "[E] F | src E F | own (managed) | replaced A B | next | unknownTrack"},
		{"edit S G H; ask PlayNext", "▶[G] H | src G H | managed | replaced A B | next | waits"},
		{"video; edit S X Y; ask? ids AddTracks {'paths': [{'path': '@Z'}]}", "{'ids':[{'id':'#Z'}]}"},
		{"elsewhere A B; edit S B A B; play B", "▶[B] A B | src B A B | managed | replaced X Y Z | next | waits"},
		{"video; elsewhere A B A B; edit S A B A B C; play 3", "A B A ▶[B] C | src A B A B C | managed | replaced B A B | next | waits"},
		{"video; edit S C; shuffleQueue", "[C] | src C | own (managed) | replaced A B A B C | next"},
	});
	tell("folders, and a queue that was empty", "", {
		{"edit S M/D.ogg M/B.flac M/c.txt M/a.mp3 M/.h.mp3 M/n/c.mp3 M/C.MP4; elsewhere M/ file:///m/ http://h/U M/a.mp3", "[M/a.mp3] M/B.flac M/C.MP4 M/D.ogg file:///m/ http://h/U M/a.mp3 | src M file:///m/ http://h/U M/a.mp3 | own | replaced -"},
		{"edit S M/ file:///m/ http://h/U M/a.mp3; refresh", "[M/a.mp3] M/B.flac M/C.MP4 M/D.ogg file:///m/ http://h/U M/a.mp3 | src M file:///m/ http://h/U M/a.mp3 | own | replaced -"},
		{"elsewhere", "∅ | src | own | replaced M/a.mp3 M/B.flac M/C.MP4 M/D.ogg file:///m/ http://h/U M/a.mp3"},
		{"elsewhere M/ N/ P", "[M/a.mp3] M/B.flac M/C.MP4 M/D.ogg P | src M N P | own | replaced M/a.mp3 M/B.flac M/C.MP4 M/D.ogg file:///m/ http://h/U M/a.mp3"},
		{"edit S K/x.mp3 K/x.wav K/x.flac K/x.aac K/x.ogg K/x.m4a K/x.opus K/x.wma K/x.mp4 K/x.mkv K/x.mov K/x.avi K/x.webm K/x.m4v K/x.ts K/x.flv K/x.wmv K/x.mpg K/x.mpeg K/x.m3u; elsewhere K/", "[K/x.aac] K/x.avi K/x.flac K/x.flv K/x.m4a K/x.m4v K/x.mkv K/x.mov K/x.mp3 K/x.mp4 K/x.mpeg K/x.mpg K/x.ogg K/x.opus K/x.ts K/x.wav K/x.webm K/x.wma K/x.wmv | src K | own | replaced M/a.mp3 M/B.flac M/C.MP4 M/D.ogg file:///m/ http://h/U M/a.mp3"},
		{"elsewhere file:M/", "[file:M] | src file:M | own | replaced M/a.mp3 M/B.flac M/C.MP4 M/D.ogg file:///m/ http://h/U M/a.mp3"},
	});
	tell("the queue that the user last made or played is there, or is the replaced one", "P Q R S", {
		{"start P; elsewhere P E", "[P] E | src P E | own (managed) | replaced P Q R S"},
		{"log?", "The playlist of \"S\" was changed elsewhere and has replaced a queue of 4 tracks. To have that queue back, choose \"Bring Back Replaced Queue\" in the Tools menu."},
		{"elsewhere P E F; log?", ""},
		{"look", "[P] E F | src P E F | own (managed) | replaced P Q R S"},
		{"elsewhere P", "[P] | src P | own (managed) | replaced P Q R S"},
		{"bringBack", "▶[P] Q R S | src P | managed | replaced P"},
		{"elsewhere X", "[X] | src X | own (managed) | replaced P Q R S"},
		{"drop E; elsewhere Y Z", "[Y] Z | src Y Z | own (managed) | replaced X E"},
		{"endMode Next; refresh; select Z; search /Z; search; elsewhere A B",
		 "[A] B | src A B | own (managed) | replaced X E | next"},
		{"start B; elsewhere C", "[C] | src C | own (managed) | replaced A B | next"},
		{"start C; elsewhere D", "[D] | src D | own (managed) | replaced A B | next"},
		{"restart; elsewhere E F", "[E] F | src E F | own (managed) | replaced A B | next"},
		{"select E; moveDown; restart; elsewhere X", "[X] | src X | own (managed) | replaced F E | next"},
		{"select X; remove; elsewhere Y", "[Y] | src Y | own (managed) | replaced F E | next"},
		{"drop Z; select Z; remove; elsewhere A B", "[A] B | src A B | own (managed) | replaced F E | next"},
		{"select A; remove; undoRemove; elsewhere C", "[C] | src C | own (managed) | replaced A B | next"},
	});
	tell("what is brought back is what was replaced when asking, and no queue of the user's own is lost", "P Q", {
		{"elsewhere X Z; bringBack; bringBack; elsewhere Y", "[Y] | src Y | own | replaced P Q"},
		{"elsewhere X Y Z; edit S A B; bringBack", "[P] Q | src A B | own | replaced A B"},
		{"bringBack", "[A] B | src A B | own | replaced P Q"},
		{"drop C; edit S D; bringBack", "[P] Q | src D | own | replaced A B C"},
		{"elsewhere X Y; bringBack; elsewhere A; bringBack; elsewhere B", "[B] | src B | own | replaced P Q"},
		{"bringBack; drop E; edit S X; restart", "[X] | src X | own | replaced P Q E"},
	});
	tell("the current track of a queue that was brought back", "P Q P", {
		{"start 2; elsewhere A B; edit S P; bringBack", "P Q ▶[P] | src P | managed | replaced P"},
		{"elsewhere Q P; bringBack", "[P] Q P | src Q P | own (managed) | replaced Q P"},
		{"start 0; select 1; remove; elsewhere A; bringBack; elsewhere A B; select A; remove; bringBack; undoRemove", "[P] P | src A B | own (managed) | replaced B"},
		{"elsewhere A; bringBack; endMode Next; media ended; poll", "[P] P | src A | own (managed) | replaced A | next"},
	});
	tell("the same entries again, and the one that is left of an edit", "P Q", {
		{"start P; elsewhere P Q", "[P] Q | src P Q | own (managed) | replaced -"},
		{"edit S N/a.mp3; elsewhere N/; drop E; select E; remove; elsewhere N/a.mp3; elsewhere Z", "[Z] | src Z | own (managed) | replaced P Q"},
	});
	tell("the playlist is given back", "P Q R", {
		{"start Q; restorePlaylist", "P [Q] R | src P Q R | own | replaced -"},
		{"own next; video; media ended; poll", "P [Q] R | src P Q R | own | replaced -"},
		{"start P; onAir; ask? mediaState GivePlaylistBack", "{'mediaState':'OBS_MEDIA_STATE_PLAYING'}"},
		{"start P; choose T; start Y; choose S; restorePlaylist", "[P] Q R | src P Q R | own | replaced -"},
		{"choose T; restorePlaylist", "X [Y] | src X Y | own | replaced -"},
		{"start X; gone Y; moveDown; restorePlaylist", "Y [X] | src Y X | own | replaced -"},
		{"record {'version': 1, 'tracks': [{'value': '@A', 'id': 'a'}], 'observed': [{'value': '@Y'}, {'value': '@X'}]}; refresh; restorePlaylist", "[A] | src A | own (0 0 stop_restart) | replaced -"},
	});
	tell("a source that goes", "P Q", {
		{"drop A; remove; start Q; delete S; drag 1 0", "P ▶[Q]"},
		{"look", "no source"},
		{"offers?", "Play, not playPause stop previous next seek addFiles endMode moveUp moveDown moveTop moveBottom remove undoRemove locateCurrent openFolder restorePlaylist"},
		{"choose T; edit T X; look", "[X] | src X | own | replaced X Y"},
	});
}
