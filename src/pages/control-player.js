/* SPDX-License-Identifier: GPL-2.0-or-later */
"use strict";

const tickMs = 250;
const sinkMs = 700; // after a seek until OBS tells the new position

// The current track: its name, its times and the buttons. The owner has act(button, request, data) and seek(ms).
class Player {
	head = null; // the answer of GetQueue that is shown; null without a queue
	readAt = 0; // when it came
	told = ""; // to a screen reader

	constructor(owner) {
		this.owner = owner;
		this.slider = element("seek");
		for (const [id, request] of [["previous", "PlayPrevious"], ["stop", "Stop"], ["next", "PlayNext"]])
			element(id).onclick = ({ currentTarget }) => owner.act(currentTarget, request);
		element("play").onclick = ({ currentTarget }) => owner.act(currentTarget, this.playRequest());
		element("end-mode").onchange = ({ currentTarget }) =>
			owner.act(currentTarget, "SetEndMode", { endMode: currentTarget.value });
		this.slider.oninput = () => {
			this.isSeeking = true;
			this.tick();
		};
		this.slider.onchange = () => this.seek();
		setInterval(() => this.tick(), tickMs);
	}

	state() {
		return this.head?.mediaState.replace("OBS_MEDIA_STATE_", "") ?? "NONE";
	}

	runs() {
		return ["PLAYING", "OPENING", "BUFFERING"].includes(this.state());
	}

	// What the user saw when pressing, so a press that comes too late does nothing wrong.
	playRequest() {
		if (this.runs())
			return "Pause";
		return this.state() === "PAUSED" ? "Resume" : "Play";
	}

	show(head) {
		this.head = head;
		this.readAt = performance.now();
		const track = this.current();
		element("artist").textContent = track?.artist ?? "";
		element("title").textContent = track ? nameOf(track) : "";
		element("status").textContent = this.statusText();
		const icon = this.runs() ? "pause" : "play";
		element("play").querySelector("use").setAttribute("href", `#icon-${icon}`);
		element("play").setAttribute("aria-label", this.runs() ? word("Pause") : word("Play"));
		const endMode = element("end-mode");
		if (head && endMode.value !== head.endMode && !endMode.matches(".taken"))
			endMode.value = head.endMode;
		for (const id of ["previous", "play", "stop", "next", "end-mode"])
			element(id).disabled = !head;
		this.tell(track);
		this.tick();
	}

	current() {
		if (!this.head || this.head.currentIndex < 0)
			return null;
		const { title, artist } = this.head;
		const track = this.owner.list.track(this.head.currentId);
		return track && { ...track, title, artist };
	}

	statusText() {
		const keys = {
			PLAYING: word("StatusPlaying"), PAUSED: word("StatusPaused"), OPENING: word("StatusLoading"),
			BUFFERING: word("StatusLoading"), ENDED: word("StatusEnded"), ERROR: word("StatusError"),
		};
		return keys[this.state()] ?? word("StatusStopped");
	}

	tell(track) {
		const text = track ? `${this.statusText()}: ${nameOf(track)}` : this.statusText();
		if (text !== this.told && this.state() !== "OPENING") {
			this.told = text;
			element("live").textContent = text;
		}
	}

	elapsed() {
		return this.state() === "PLAYING" ? performance.now() - this.readAt : 0;
	}

	tick() {
		const { duration = 0, cursor = 0, queueRemainingMs, unknownRemaining } = this.head ?? {};
		const shows = duration > 0 && (this.runs() || this.state() === "PAUSED");
		const now = Math.min(cursor + this.elapsed(), duration);
		const at = this.isSeeking ? Number(this.slider.value) : now;
		this.slider.max = shows ? duration : 0;
		if (!this.isSeeking)
			this.slider.value = now;
		const position = shows ? clock(at) : "";
		const write = (id, text) => {
			if (element(id).textContent !== text)
				element(id).textContent = text;
		};
		write("position", position);
		write("remaining", shows ? `−${clock(Math.ceil((duration - at) / 1000) * 1000)}` : "");
		const left = queueRemainingMs > 0 && !unknownRemaining ? clock(Math.max(queueRemainingMs - this.elapsed(), 0)) : "";
		write("show-left", left && word("PageShowLeft", left));
		if (this.slider.spoken !== position) {
			this.slider.spoken = position;
			this.slider.setAttribute("aria-valuetext", position && `${position} / ${clock(duration)}`);
		}
		this.owner.list.setPosition(shows ? clock(now) : "", shows ? now / duration : 0);
	}

	async seek() {
		const target = Number(this.slider.value);
		this.isSeeking = false;
		if (!this.head || !(this.head.duration > 0))
			return;
		this.head.cursor = target;
		this.readAt = performance.now();
		this.tick();
		await this.owner.seek(target);
	}
}
