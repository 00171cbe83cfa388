/* SPDX-License-Identifier: GPL-2.0-or-later */
"use strict";

const storeKey = "obs-reelhouse";

// The address and the password, if the user wants them kept. All pages of a disk share one store, so nothing is kept
// unasked.
const store = {
	read() {
		try {
			return JSON.parse(localStorage.getItem(storeKey)) ?? {};
		} catch {
			return {}; // the browser keeps nothing, or something else stands there
		}
	},
	write(values) {
		try {
			if (values)
				localStorage.setItem(storeKey, JSON.stringify(values));
			else
				localStorage.removeItem(storeKey);
		} catch {
			// The browser keeps nothing.
		}
	},
};

// Asks where OBS is. The owner has connect(address, password).
class ConnectDialog {
	dialog = element("connect");

	constructor(owner) {
		this.dialog.querySelector("form").onsubmit = () => {
			const [address, password] = [element("address").value, element("password").value];
			store.write(element("remember").checked ? { address, password } : null);
			owner.connect(address, password);
		};
		// The page can do nothing yet, but the way back to this dialog stays.
		this.dialog.oncancel = () => owner.client || owner.isLost(true, word("PageAddress"));
		element("open-connect").onclick = () => this.open("");
		element("reconnect").onclick = () => {
			element("options").close();
			this.open("");
		};
	}

	fill(address, password, isKept) {
		element("address").value = address;
		element("password").value = password;
		element("remember").checked = isKept;
	}

	open(trouble) {
		element("connect-trouble").textContent = trouble;
		if (!this.dialog.open)
			this.dialog.showModal();
	}
}

// Paths that are pasted, one in each line; what other programs put around them is taken off.
function pastedPaths(text) {
	const lines = text.split(/\r?\n/).map((line) => line.trim().replace(/^(["'])(.*)\1$/, "$2"));
	return lines.filter((line) => line !== "");
}

function listenToAddDialog(owner) {
	const dialog = element("add");
	element("open-add").onclick = () => dialog.showModal();
	dialog.querySelector("[type=button]").onclick = () => dialog.close();
	dialog.querySelector("form").onsubmit = async () => {
		const paths = pastedPaths(element("paths").value);
		if (paths.length === 0)
			return;
		const answer = await owner.act(element("open-add"), "AddTracks", { paths: paths.map((path) => ({ path })) });
		if (answer.success)
			element("paths").value = "";
	};
}

// For a hand that does not drag: asks where a row is to go, and returns its new place in the queue; -1 for nowhere.
function askMove(name, place, last) {
	const dialog = element("move");
	element("move-head").textContent = name;
	const targets = { top: 0, up: Math.max(place - 1, 0), down: Math.min(place + 1, last), bottom: last };
	for (const button of dialog.querySelectorAll("button[value]"))
		button.disabled = targets[button.value] === place;
	dialog.returnValue = "";
	dialog.showModal();
	return new Promise((resolve) => {
		dialog.onclose = () => resolve(targets[dialog.returnValue] ?? -1);
	});
}
