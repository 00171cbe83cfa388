/* SPDX-License-Identifier: GPL-2.0-or-later */
"use strict";

function decoded(text) {
	try {
		return decodeURIComponent(text);
	} catch {
		return text;
	}
}

// Of a URL only the file or the host is shown: the rest may hold a password or a key.
function untitledName({ label, path }) {
	const url = /^(?!file:)[^/?#]*:\/\/([^/?#]*)([^?#]*)/i.exec(path);
	const file = url ? decoded(url[2].split("/").pop()) : label;
	// A number after the last dot is part of a name.
	const name = file.replace(/(?<=.)\.(?=\d*[a-z])[\da-z]{1,5}$/i, "");
	return name || url?.[1].replace(/^.*@|:\d*$/g, "") || label;
}

const nameOf = (track) => track.title || untitledName(track);

// Texts of a length in milliseconds: 3:25, 1:00:05; empty if it is not known.
function clock(ms) {
	if (!(ms >= 0))
		return "";
	const seconds = Math.floor(ms / 1000);
	const two = (number) => String(number % 60).padStart(2, "0");
	const minutes = Math.floor(seconds / 60);
	return minutes < 60 ? `${minutes}:${two(seconds)}` : `${Math.floor(minutes / 60)}:${two(minutes)}:${two(seconds)}`;
}
