/* SPDX-License-Identifier: GPL-2.0-or-later */
"use strict";

const element = (id) => document.getElementById(id);
const rowHeight = parseFloat(getComputedStyle(document.documentElement).getPropertyValue("--row"));
const spareRows = 6; // above and below those in view
const mostTags = 100; // of one request
const settleMs = 120; // that a scrolled list rests before its tags are asked for
const handMs = 350; // that a hand needs to see that the rows have moved

// The rows of the queue. Only those in view exist, each for one track, whose id it keeps while it is in view.
class TrackList {
	scroller = element("list");
	box = element("rows");
	tracks = [];
	shown = []; // the places in the queue of the tracks that the search shows
	places = new Map(); // the places in the queue by id
	known = new Map(); // title, artist and durationMs by id, of files that were read
	asked = new Set(); // the ids whose tags were asked for
	failed = new Set(); // the ids of tracks that did not play
	waiting = new Set(); // the ids of tracks that a request is about
	rows = new Map(); // the elements in view by id
	spare = []; // elements of no row
	currentId = "";
	position = ""; // of the current track
	played = 0; // how much of it, from 0 to 1
	activeId = ""; // of the row that the Tab key comes to
	search = "";
	later = null; // the queue that came while the list was held
	isHeld = false; // a finger is on a row: nothing moves under it
	movedAt = -handMs; // when rows in view last took other places by themselves
	preview = null; // from and to, the places of a row that is being moved

	// The owner has play(id), remove(id), move(id, to), askTags(offset, limit).
	constructor(owner) {
		this.owner = owner;
		this.scroller.addEventListener("scroll", () => this.draw(), { passive: true });
		new ResizeObserver(() => this.draw()).observe(this.scroller);
		this.listenToPresses();
		this.box.addEventListener("keydown", (event) => this.key(event));
		this.box.addEventListener("focusin", ({ target }) => this.activate(target.closest(".row").dataset.id));
	}

	track(id) {
		return this.tracks[this.places.get(id)];
	}

	// The track with what its file tells.
	whole(track) {
		return { ...track, ...this.known.get(track.id) };
	}

	isFiltered() {
		return this.search !== "";
	}

	// Takes another queue and leaves the first row in view where it is.
	set(tracks) {
		if (this.isHeld) {
			this.later = tracks;
			return;
		}
		const before = new Map([...this.rows].map(([id, row]) => [id, row.y - this.scroller.scrollTop]));
		const first = Math.floor(this.scroller.scrollTop / rowHeight);
		const anchors = this.shown.slice(first, first + 50).map((place) => this.tracks[place].id);
		const offset = first * rowHeight - this.scroller.scrollTop;
		this.tracks = tracks;
		this.places = new Map(tracks.map(({ id }, place) => [id, place]));
		this.filter();
		const anchor = anchors.find((id) => this.places.has(id) && this.rowOf(id) >= 0);
		if (anchor && this.scroller.scrollTop > 0)
			this.scroller.scrollTop = (this.rowOf(anchor) - anchors.indexOf(anchor)) * rowHeight - offset;
		this.draw();
		const moved = ([id, y]) => (this.rows.get(id)?.y ?? -rowHeight) - this.scroller.scrollTop !== y;
		if ([...before].some(moved))
			this.movedAt = performance.now();
	}

	find(search) {
		this.search = search.trim().toLocaleLowerCase();
		this.filter();
		this.scroller.scrollTop = 0;
		this.draw();
	}

	filter() {
		const number = /^#(\d+)$/.exec(this.search)?.[1];
		const matches = (track) => {
			const { title = "", artist = "", path, label } = this.whole(track);
			return [title, artist, path, label].some((text) => text.toLocaleLowerCase().includes(this.search));
		};
		this.shown = [];
		this.tracks.forEach((track, place) => {
			if (number ? Number(number) === place + 1 : !this.isFiltered() || matches(track))
				this.shown.push(place);
		});
		this.box.hidden = this.shown.length === 0;
		this.box.style.height = `${this.shown.length * rowHeight}px`;
		this.box.classList.toggle("filtered", this.isFiltered());
		this.rowByPlace = this.isFiltered() ? new Map(this.shown.map((place, row) => [place, row])) : null;
	}

	// The row of a track from the top, as the search shows it; -1 for none.
	rowOf(id) {
		const place = this.places.get(id) ?? -1;
		return this.rowByPlace ? (this.rowByPlace.get(place) ?? -1) : place;
	}

	// Where a row stands while another one is being moved.
	shifted(row) {
		if (!this.preview)
			return row;
		const { from, to } = this.preview;
		if (row === from)
			return to;
		return row + (from < row && row <= to ? -1 : 0) + (to <= row && row < from ? 1 : 0);
	}

	rowsInView() {
		const first = Math.floor(this.scroller.scrollTop / rowHeight) - spareRows;
		const count = Math.ceil(this.scroller.clientHeight / rowHeight) + 2 * spareRows;
		return [Math.max(first, 0), Math.min(Math.max(first, 0) + count, this.shown.length)];
	}

	draw() {
		const [begin, end] = this.rowsInView();
		const ids = new Set();
		for (let row = begin; row < end; row++)
			ids.add(this.tracks[this.shown[row]].id);
		// The row with the focus, and the one under a finger, stay wherever they are.
		const kept = [this.box.contains(document.activeElement) ? this.activeId : "", this.draggedId ?? ""];
		for (const id of kept) {
			if (this.rowOf(id) >= 0)
				ids.add(id);
		}
		if (!ids.has(this.activeId))
			this.activeId = ids.has(this.currentId) ? this.currentId : (ids.values().next().value ?? "");
		for (const [id, row] of this.rows) {
			if (!ids.has(id)) {
				row.hidden = true;
				this.spare.push(row);
				this.rows.delete(id);
			}
		}
		for (const id of ids)
			this.drawRow(id);
		clearTimeout(this.settling);
		this.settling = setTimeout(() => this.settle(), settleMs);
	}

	settle() {
		this.askTags();
		if (!this.isHeld)
			this.sortElements();
	}

	// A screen reader goes by the order of the elements. One with the focus stays, because it would lose it.
	sortElements() {
		let next = null;
		for (const row of [...this.rows.values()].sort((a, b) => b.y - a.y)) {
			if (row.nextElementSibling !== next && !row.contains(document.activeElement))
				this.box.insertBefore(row, next);
			next = row;
		}
	}

	element(id) {
		let row = this.rows.get(id);
		if (row)
			return row;
		row = this.spare.pop();
		if (!row) {
			row = element("row").content.firstElementChild.cloneNode(true);
			const part = (name) => row.querySelector(`.${name}`);
			for (const name of ["start", "number", "title", "artist", "length", "remove", "handle"])
				row[`${name}Part`] = part(name);
			this.box.append(row);
		}
		row.hidden = false;
		row.dataset.id = id;
		this.rows.set(id, row);
		return row;
	}

	drawRow(id) {
		const row = this.element(id);
		const at = this.rowOf(id);
		const track = this.whole(this.track(id));
		const current = id === this.currentId;
		const bad = track.missing || this.failed.has(id);
		row.y = this.shifted(at) * rowHeight;
		if (id !== this.draggedId)
			row.style.transform = `translateY(${row.y}px)`;
		const set = (part, text) => {
			if (part.textContent !== text)
				part.textContent = text;
		};
		set(row.numberPart, current ? "▶\uFE0E" : String(this.places.get(id) + 1));
		set(row.titlePart, nameOf(track));
		set(row.artistPart, track.artist ?? "");
		const trouble = track.missing ? word("MissingFile") : word("StatusError");
		const length = clock(track.durationMs);
		set(row.lengthPart, bad ? trouble : current && this.position ? `${this.position}\u00A0/ ${length}` : length);
		row.classList.toggle("current", current);
		row.classList.toggle("bad", Boolean(bad));
		row.style.setProperty("--played", current ? this.played : 0);
		this.describeRow(row, at, track, current);
	}

	describeRow(row, at, track, current) {
		const name = nameOf(track);
		if (row.describes !== name) {
			row.describes = name;
			row.removePart.setAttribute("aria-label", `${word("RemoveTrack")}: ${name}`);
			row.handlePart.setAttribute("aria-label", `${word("PageMove")}: ${name}`);
		}
		row.setAttribute("aria-posinset", at + 1);
		row.setAttribute("aria-setsize", this.shown.length);
		if (current)
			row.startPart.setAttribute("aria-current", "true");
		else
			row.startPart.removeAttribute("aria-current");
		row.startPart.classList.toggle("taken", this.waiting.has(track.id));
		for (const button of [row.startPart, row.removePart, row.handlePart])
			button.tabIndex = track.id === this.activeId ? 0 : -1;
	}

	redraw(id) {
		if (this.rows.has(id))
			this.drawRow(id);
	}

	setCurrent(id) {
		const before = this.currentId;
		const wasInView = this.isInView(before);
		this.currentId = id;
		this.redraw(before);
		this.redraw(id);
		if (id !== before && (wasInView || !before) && !this.isInView(id))
			this.show(id);
	}

	setPosition(position, played) {
		if (this.position === position)
			return;
		this.position = position;
		this.played = played;
		this.redraw(this.currentId);
	}

	// A request about this track is on its way, or has been answered.
	setWaiting(id, waits) {
		this.waiting[waits ? "add" : "delete"](id);
		this.redraw(id);
	}

	setFailed(id, hasFailed) {
		this.failed[hasFailed ? "add" : "delete"](id);
		this.redraw(id);
	}

	isInView(id) {
		const top = this.rowOf(id) * rowHeight - this.scroller.scrollTop;
		return top >= 0 && top + rowHeight <= this.scroller.clientHeight;
	}

	// Scrolls a row to the middle.
	show(id) {
		const row = this.rowOf(id);
		if (row >= 0 && !this.isHeld)
			this.scroller.scrollTop = (row + 0.5) * rowHeight - this.scroller.clientHeight / 2;
	}

	async askTags() {
		const [begin, end] = this.rowsInView();
		const places = this.shown.slice(begin, end).filter((place) => !this.asked.has(this.tracks[place].id));
		if (places.length === 0)
			return;
		const offset = places[0];
		const limit = Math.min(places.at(-1) - offset + 1, mostTags);
		const ids = this.tracks.slice(offset, offset + limit).map(({ id }) => id);
		ids.forEach((id) => this.asked.add(id));
		const answer = await this.owner.askTags(offset, limit);
		for (const { id, title, artist, durationMs } of answer.tracks ?? []) {
			this.known.set(id, { title, artist, durationMs });
			this.redraw(id);
		}
		// Files that have not been read yet are asked for again the next time that they are in view.
		if (!answer.success || answer.complete === false)
			ids.forEach((id) => this.known.get(id)?.durationMs === undefined && this.asked.delete(id));
		if (places.at(-1) >= offset + limit)
			this.draw();
	}

	activate(id) {
		const before = this.activeId;
		this.activeId = id;
		this.redraw(before);
		this.redraw(id);
	}

	// What is pressed is the row that was under the finger when it came down, wherever the rows go meanwhile.
	listenToPresses() {
		let pressedId = "";
		this.scroller.addEventListener("pointerdown", ({ target }) => {
			pressedId = target.closest?.(".row")?.dataset.id ?? "";
			this.isHeld = pressedId !== "";
			this.isLate = performance.now() - this.movedAt < handMs;
		}, true);
		const release = () => setTimeout(() => this.release());
		window.addEventListener("pointerup", release);
		window.addEventListener("pointercancel", release);
		this.box.addEventListener("click", ({ target, detail }) => {
			const button = target.closest("button");
			const id = detail > 0 ? pressedId : button?.closest(".row").dataset.id;
			if (!button || !this.places.has(id))
				return;
			if (detail > 0 && this.isLate)
				this.owner.tooLate();
			else if (button.matches(".start"))
				this.owner.play(id);
			else if (button.matches(".remove"))
				this.remove(id);
			else
				this.owner.chooseMove(id);
		});
	}

	release() {
		this.isHeld = this.draggedId !== undefined;
		if (this.isHeld || !this.later)
			return;
		const tracks = this.later;
		this.later = null;
		this.set(tracks);
	}

	// The focus goes to the row that takes the place of the removed one.
	remove(id) {
		const row = this.rowOf(id);
		const next = this.shown[row + 1] ?? this.shown[row - 1];
		const had = this.box.contains(document.activeElement) && this.activeId === id;
		if (had && next !== undefined)
			this.focusRow(this.tracks[next].id, ".start");
		this.owner.remove(id);
	}

	focusRow(id, part) {
		this.activate(id);
		if (!this.isInView(id))
			this.show(id);
		this.draw();
		this.rows.get(id)?.querySelector(part).focus({ preventScroll: true });
	}

	key(event) {
		const row = this.rowOf(this.activeId);
		const part = [".start", ".remove", ".handle"].find((name) => event.target.matches(name)) ?? ".start";
		const page = Math.max(Math.floor(this.scroller.clientHeight / rowHeight) - 1, 1);
		const steps = { ArrowUp: -1, ArrowDown: 1, PageUp: -page, PageDown: page, Home: -Infinity, End: Infinity };
		if (event.altKey && ["ArrowUp", "ArrowDown"].includes(event.key) && !this.isFiltered())
			this.owner.move(this.activeId, this.places.get(this.activeId) + steps[event.key]);
		else if (event.key in steps)
			this.focusAt(row + steps[event.key], part);
		else if (["ArrowLeft", "ArrowRight"].includes(event.key))
			this.focusBeside(event.target, event.key === "ArrowRight");
		else if (event.key === "Delete")
			this.remove(this.activeId);
		else
			return;
		event.preventDefault();
	}

	focusAt(row, part) {
		const place = this.shown[Math.min(Math.max(row, 0), this.shown.length - 1)];
		if (place !== undefined)
			this.focusRow(this.tracks[place].id, part);
	}

	focusBeside(button, right) {
		const forward = right === (document.documentElement.dir !== "rtl");
		(forward ? button.nextElementSibling : button.previousElementSibling)?.focus();
	}
}
