/* SPDX-License-Identifier: GPL-2.0-or-later */
"use strict";

// By language and key; the build puts in what this page uses of data/locale.
const locales = {};

// Returns the first of the wanted languages that there is, or English.
function knownLanguage(wanted) {
	const known = Object.keys(locales);
	for (const language of wanted) {
		const traditional = /^zh.*(hant|hk|mo)/i.test(language) ? "zh-TW" : language;
		const same = (length) => known.find((one) => one.slice(0, length).toLowerCase() ===
			traditional.slice(0, length).toLowerCase());
		const found = same(5) ?? same(2);
		if (found)
			return found;
	}
	return "en-US";
}

let language = "en-US";
function speak(...wanted) {
	language = knownLanguage(wanted);
	document.documentElement.lang = language;
}

// Returns the text of a key, with these values in its gaps.
function word(key, ...values) {
	return locales[language][key].replace(/%(\d)/g, (gap, number) => values[number - 1] ?? gap);
}
