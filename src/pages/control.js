/* SPDX-License-Identifier: GPL-2.0-or-later */
"use strict";

const lookAgainMs = 2000; // after an answer that says nothing of the queue
const freshMs = 5000; // how late a seek elsewhere shows: no event tells of it
const messageMs = 8000;
// The state of the media and the queue's options are told by these; the others tell of another queue.
const smallEvents = ["CurrentTrackChanged", "EndModeChanged", "MediaStateChanged", "OptionsChanged"];

const options = new URLSearchParams(`${location.search.slice(1)}&${location.hash.slice(1)}`);

function writeWords() {
	speak(options.get("lang") ?? "", ...navigator.languages);
	document.documentElement.dir = /^(ar|fa|he)/.test(language) ? "rtl" : "ltr";
	for (const part of document.querySelectorAll("[data-word]"))
		part.textContent = word(part.dataset.word);
	for (const part of document.querySelectorAll("[data-label]")) {
		part.setAttribute("aria-label", word(part.dataset.label));
		if (part.matches("button"))
			part.title = word(part.dataset.label);
	}
	element("search").placeholder = word("SearchPlaceholder");
}

// The page: asks what the dock has, shows it, and sends what the user presses.
class Control {
	head = null; // the last answer of GetQueue, without its tracks
	// Names the source on show, by name or UUID; empty for that of the first dock, whichever it is.
	shown = options.has("source") ? { sourceName: options.get("source") } : {};
	dock = 1; // which has that source
	looking = false;
	wanted = ""; // what to ask for next: "" nothing, "head", or "all" with the tracks

	constructor() {
		this.list = new TrackList(this);
		this.mover = new RowMover(this.list);
		this.player = new Player(this);
		this.dialog = new ConnectDialog(this);
		listenToAddDialog(this);
		this.listen();
		this.start();
	}

	listen() {
		element("search").oninput = ({ target }) => {
			this.list.find(target.value);
			this.writeCount();
		};
		element("undo").onclick = () => this.act(element("undo"), "UndoRemove");
		element("skip-failed").onchange = ({ target }) => this.act(target, "SetSkipFailed", { enabled: target.checked });
		element("start-again").onchange = ({ target }) => this.act(target, "SetStartAgain", { enabled: target.checked });
		element("shuffle").onclick = () => this.act(element("shuffle"), "ShuffleQueue");
		element("bring-back").onclick = () => this.act(element("bring-back"), "BringBackReplacedQueue");
		element("open-options").onclick = () => element("options").showModal();
		element("now").onclick = () => this.list.show(this.list.currentId);
		element("source").onchange = ({ target }) => this.chooseSource(target);
		element("message").onclick = () => this.say("");
		document.addEventListener("keydown", (event) => this.key(event));
		// A phone that was asleep has missed what happened.
		document.addEventListener("visibilitychange", () => document.hidden || this.wake());
		setInterval(() => document.hidden || this.refresh("head"), freshMs);
	}

	start() {
		const kept = store.read();
		const host = location.protocol.startsWith("http") ? location.hostname : "localhost";
		const address = options.get("address") ?? kept.address;
		const password = options.get("password") ?? kept.password ?? "";
		this.dialog.fill(address ?? serverAddress(host), password, Boolean(kept.address));
		if (address)
			this.connect(address, password);
		else
			this.dialog.open("");
	}

	connect(address, password) {
		this.client?.close();
		this.isLost(true, "");
		this.client = new Client(address, password, {
			opened: () => this.opened(),
			heard: (type, data) => this.heard(type, data),
			lost: (trouble) => this.lost(trouble),
		});
	}

	opened() {
		this.isLost(false, "");
		this.dialog.dialog.close();
		this.refresh("all");
		this.askSources();
	}

	lost(trouble) {
		const { address } = this.client;
		const refused = trouble === Trouble.password;
		const text = refused ? word("PageWrongPassword", address) : word("PageLost", address);
		this.isLost(true, text);
		if (refused)
			this.dialog.open(text);
	}

	isLost(isLost, text) {
		element("app").inert = isLost;
		element("trouble").hidden = text === "";
		element("trouble-text").textContent = text;
	}

	wake() {
		if (this.client && !this.client.isOpen())
			this.client.connect();
		this.refresh("all");
		this.askSources();
	}

	heard(type, { id, mediaState, sourceName, dock = 1 }) {
		if (type === "StateChanged")
			return;
		if (dock !== this.dock) {
			if (["SourceChanged", "QueueChanged"].includes(type))
				this.askSources();
			return;
		}
		if (type === "TrackFailed")
			this.list.setFailed(id, true);
		if (type === "MediaStateChanged" && mediaState === "OBS_MEDIA_STATE_PLAYING")
			this.list.setFailed(id, false);
		if (type === "SourceChanged" || (sourceName !== undefined && sourceName !== this.head?.sourceName))
			this.askSources();
		this.refresh(smallEvents.includes(type) ? "head" : "all");
	}

	async refresh(what) {
		this.wanted = this.wanted === "all" ? "all" : what;
		if (this.looking)
			return;
		clearTimeout(this.nextLook);
		this.looking = true;
		while (this.wanted && this.client?.isOpen()) {
			const all = this.wanted === "all";
			this.wanted = "";
			this.take(await this.client.ask("GetQueue", { ...this.shown, ...(!all && { limit: 0 }) }), all);
		}
		this.looking = false;
	}

	take(answer, all) {
		if (!this.client.isOpen())
			return;
		const { tracks, ...head } = answer;
		if (!answer.success) {
			this.takeNothing(answer);
		} else if (all) {
			this.head = head;
			this.list.set(tracks);
		} else if (head.sourceUuid !== this.head?.sourceUuid || head.total !== this.list.tracks.length) {
			this.wanted = "all";
			return;
		} else {
			this.head = head;
		}
		this.show();
	}

	takeNothing({ error, comment }) {
		this.head = null;
		this.list.set([]);
		if (error === "noSource" || error === "otherSource")
			return;
		this.say(comment || word("StatusError"));
		this.nextLook = setTimeout(() => this.refresh("all"), lookAgainMs);
	}

	show() {
		const { currentId = "", title, artist, durationMs, canUndo, canBringBack, skipFailed, startAgain } = this.head ?? {};
		if (currentId && (title || artist || durationMs >= 0))
			this.list.known.set(currentId, { title, artist, durationMs });
		this.list.setCurrent(currentId);
		this.player.show(this.head);
		element("undo").disabled = !canUndo;
		element("bring-back").disabled = !canBringBack;
		for (const id of ["open-add", "skip-failed", "start-again", "shuffle"])
			element(id).disabled = !this.head;
		element("skip-failed").checked = skipFailed;
		element("start-again").checked = startAgain;
		this.writeCount();
	}

	writeCount() {
		const [shown, total] = [this.list.shown.length, this.list.tracks.length];
		const text = this.list.isFiltered() ? word("FilteredCount", shown, total) : word("TrackCount", total);
		if (element("count").textContent !== text)
			element("count").textContent = text;
		element("empty").hidden = shown > 0;
		if (shown === 0)
			element("empty").textContent = this.emptyText(total);
	}

	emptyText(total) {
		if (!this.head)
			return this.sources?.length === 0 ? word("ListNoSources") : word("ListNoSourceChosen");
		return total > 0 ? word("ListNothingFound") : word("ListEmptyQueue").split("\n")[0];
	}

	// One source needs no choice.
	async askSources() {
		const { sources } = await this.client.ask("GetSources");
		if (!sources)
			return;
		this.sources = sources;
		const entries = sources.map(({ label, sourceUuid }) => new Option(label, sourceUuid));
		const chosen = this.shownOf(sources)?.sourceUuid ?? "";
		element("source").replaceChildren(new Option(word("SelectSource"), ""), ...entries);
		element("source").value = chosen;
		element("source").hidden = sources.length < 2 && (chosen !== "" || sources.length === 0);
		this.writeCount();
	}

	// Finds the source on show, and which dock has it now.
	shownOf(sources) {
		const { sourceName, sourceUuid } = this.shown;
		if (!sourceName && !sourceUuid)
			return sources.find(({ selected }) => selected);
		const found = sources.find((source) => source.sourceUuid === sourceUuid || source.sourceName === sourceName);
		if (!found?.dock)
			return undefined;
		if (found.dock !== this.dock)
			this.refresh("all");
		this.dock = found.dock;
		return found;
	}

	see(source, dock) {
		this.shown = dock > 1 ? { sourceUuid: source } : {};
		this.dock = dock;
		this.refresh("all");
		this.askSources();
	}

	// A source that has a dock is shown. Any other one takes the place of the one on show.
	async chooseSource(part) {
		const sourceUuid = part.value;
		const dock = this.sources.find((source) => source.sourceUuid === sourceUuid)?.dock ?? 0;
		if (dock > 0 || (sourceUuid === "" && this.dock > 1))
			return this.see(sourceUuid, dock || 1);
		if (this.dock === 1)
			return this.act(part, "SelectSource", { sourceUuid });
		const before = this.shown;
		this.shown = { sourceUuid };
		const { success } = await this.act(part, "SelectSource", { sourceUuid, dock: this.dock });
		if (!success)
			this.shown = before;
		this.refresh("all");
		this.askSources();
	}

	// Shows that a press was taken until its answer is there. No request acts on another source than the one on show.
	async act(part, requestType, data = {}) {
		part.classList.add("taken");
		const answer = await this.send(requestType, data);
		part.classList.remove("taken");
		return answer;
	}

	async actOn(id, requestType, data) {
		this.list.setWaiting(id, true);
		const answer = await this.send(requestType, data);
		this.list.setWaiting(id, false);
		return answer;
	}

	async send(requestType, data) {
		const own = this.head ? { sourceUuid: this.head.sourceUuid } : this.shown;
		const answer = await this.client.ask(requestType, { ...own, ...data });
		this.say(answer.success ? "" : answer.comment);
		this.refresh(answer.success ? "head" : "all");
		return answer;
	}

	play(id) {
		this.list.setFailed(id, false);
		this.actOn(id, "PlayTrack", { id, switchScene: element("with-scene").checked });
	}

	remove(id) {
		this.actOn(id, "RemoveTracks", { ids: [{ id }] });
	}

	moveBefore(id, nextId) {
		const [from, next] = [this.list.places.get(id), this.list.places.get(nextId) ?? this.list.tracks.length];
		this.move(id, next > from ? next - 1 : next);
	}

	async chooseMove(id) {
		const to = await askMove(nameOf(this.list.whole(this.list.track(id))), this.list.places.get(id),
			this.list.tracks.length - 1);
		if (to >= 0)
			this.move(id, to);
	}

	// Shows the move at once.
	move(id, index) {
		const from = this.list.places.get(id);
		if (from === undefined || index < 0 || index >= this.list.tracks.length || index === from)
			return;
		const tracks = [...this.list.tracks];
		tracks.splice(index, 0, ...tracks.splice(from, 1));
		this.list.set(tracks);
		this.list.movedAt = -handMs; // the user's own doing
		this.actOn(id, "MoveTrack", { id, index });
	}

	async seek(ms) {
		const { requestStatus } = await this.client.request("SetMediaInputCursor",
			{ inputUuid: this.head.sourceUuid, mediaCursor: Math.round(ms) });
		this.say(requestStatus.result ? "" : requestStatus.comment);
		setTimeout(() => this.refresh("head"), sinkMs);
	}

	askTags(offset, limit) {
		return this.client.ask("GetQueue", { ...this.shown, offset, limit, tags: true });
	}

	tooLate() {
		this.say(word("PageMoved"));
	}

	say(text) {
		clearTimeout(this.silence);
		// An open dialog covers all that is not in it.
		(document.querySelector("dialog[open]") ?? element("app")).append(element("message"));
		element("message").textContent = text;
		element("message").hidden = !text;
		if (text)
			this.silence = setTimeout(() => this.say(""), messageMs);
	}

	key(event) {
		const control = event.ctrlKey || event.metaKey;
		const types = event.target.matches("input:not([type=checkbox], [type=range]), textarea");
		if (control && event.key === "f")
			element("search").focus();
		else if (control && event.key === "z" && !types)
			element("undo").click();
		else if (event.key === "Escape" && event.target === element("search"))
			this.clearSearch();
		else
			return;
		event.preventDefault();
	}

	clearSearch() {
		element("search").value = "";
		this.list.find("");
		this.writeCount();
	}
}

writeWords();
const control = new Control();
