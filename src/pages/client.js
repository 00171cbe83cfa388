/* SPDX-License-Identifier: GPL-2.0-or-later */
"use strict";

const vendor = "OBS-Reelhouse";
const vendorEvents = 1 << 9;
const defaultPort = 4455;
const retryMs = 2000;
const longestRetryMs = 60000;
const answerMs = 10000; // after which OBS is taken for gone
const refusedPassword = 4009; // the code with which OBS closes the connection

// The address of OBS's server as a browser wants it; the port and what stands around it may be left out.
function serverAddress(text) {
	const address = text.trim().replace(/^wss?:\/\/|\/+$/gi, "");
	return /:\d+$/.test(address) ? address : `${address}:${defaultPort}`;
}

// Browsers keep their own digest from pages that come without https from another computer.
function sha256(bytes) {
	const rotated = (word, by) => (word >>> by) | (word << (32 - by));
	const fraction = (root) => ((root - Math.floor(root)) * 2 ** 32) | 0;
	const primes = [];
	for (let number = 2; primes.length < 64; number++) {
		if (primes.every((prime) => number % prime))
			primes.push(number);
	}
	const keys = primes.map((prime) => fraction(Math.cbrt(prime)));
	let state = primes.slice(0, 8).map((prime) => fraction(Math.sqrt(prime)));
	const padded = new DataView(new ArrayBuffer((bytes.length + 72) & ~63));
	bytes.forEach((byte, at) => padded.setUint8(at, byte));
	padded.setUint8(bytes.length, 0x80);
	padded.setUint32(padded.byteLength - 4, bytes.length * 8);
	for (let block = 0; block < padded.byteLength; block += 64) {
		const words = Array.from({ length: 16 }, (_, at) => padded.getInt32(block + 4 * at));
		for (let at = 16; at < 64; at++) {
			const early = words[at - 15];
			const late = words[at - 2];
			const mixed = (rotated(early, 7) ^ rotated(early, 18) ^ (early >>> 3)) +
				(rotated(late, 17) ^ rotated(late, 19) ^ (late >>> 10));
			words[at] = (words[at - 16] + words[at - 7] + mixed) | 0;
		}
		let [a, b, c, d, e, f, g, h] = state;
		for (let at = 0; at < 64; at++) {
			const first = (h + (rotated(e, 6) ^ rotated(e, 11) ^ rotated(e, 25)) + ((e & f) ^ (~e & g)) +
				keys[at] + words[at]) | 0;
			const second = (rotated(a, 2) ^ rotated(a, 13) ^ rotated(a, 22)) + ((a & b) ^ (a & c) ^ (b & c));
			[a, b, c, d, e, f, g, h] = [(first + second) | 0, a, b, c, (d + first) | 0, e, f, g];
		}
		state = [a, b, c, d, e, f, g, h].map((word, at) => (word + state[at]) | 0);
	}
	return state.flatMap((word) => [word >>> 24, word >>> 16, word >>> 8, word].map((byte) => byte & 255));
}

const digest = (text) => btoa(String.fromCharCode(...sha256(new TextEncoder().encode(text))));

// Why there is no connection: OBS refuses the password, is not at this address, has gone, or does not answer.
const Trouble = Object.freeze({ password: "password", address: "address", gone: "gone", silent: "silent" });

// One connection to OBS. Once it has ended, nothing that still comes of it is heard.
class Connection {
	waiting = new Map(); // by the id of a request: who gets its answer
	lastId = 0;
	ended = false;
	identified = false;

	// The listener has opened(), heard(eventType, eventData) and ended(trouble, detail).
	constructor(address, password, listener) {
		this.password = password;
		this.listener = listener;
		this.socket = new WebSocket(`ws://${address}`);
		this.deadline = setTimeout(() => this.end(Trouble.address, "no answer"), answerMs);
		this.socket.onmessage = (message) => this.receive(JSON.parse(message.data));
		this.socket.onclose = ({ code, reason }) => this.end(this.troubleOf(code), `${code} ${reason}`);
	}

	troubleOf(code) {
		if (code === refusedPassword)
			return Trouble.password;
		return this.identified ? Trouble.gone : Trouble.address;
	}

	end(trouble, detail) {
		if (this.ended)
			return;
		this.ended = true;
		clearTimeout(this.deadline);
		this.socket.close();
		for (const give of this.waiting.values())
			give({ requestStatus: { result: false, comment: "" } });
		if (trouble)
			this.listener.ended(trouble, detail);
	}

	receive({ op, d }) {
		if (this.ended)
			return;
		if (op === 0)
			this.identify(d);
		else if (op === 2)
			this.open();
		else if (op === 5 && d.eventData.vendorName === vendor)
			this.listener.heard(d.eventData.eventType, d.eventData.eventData);
		else if (op === 7)
			this.waiting.get(d.requestId)?.(d);
	}

	identify({ authentication }) {
		const data = { rpcVersion: 1, eventSubscriptions: vendorEvents };
		if (authentication) {
			const secret = digest(this.password + authentication.salt);
			data.authentication = digest(secret + authentication.challenge);
		}
		this.send(1, data);
	}

	open() {
		clearTimeout(this.deadline);
		this.identified = true;
		this.listener.opened();
	}

	send(op, data) {
		this.socket.send(JSON.stringify({ op, d: data }));
	}

	// Returns OBS's answer to one of its own requests.
	request(requestType, requestData) {
		const requestId = String(++this.lastId);
		return new Promise((resolve) => {
			const deadline = setTimeout(() => this.end(Trouble.silent, requestType), answerMs);
			this.waiting.set(requestId, (answer) => {
				clearTimeout(deadline);
				this.waiting.delete(requestId);
				resolve(answer);
			});
			this.send(6, { requestId, requestType, requestData });
		});
	}
}

// The page's way to the dock: connects, and connects again when the connection has ended.
class Client {
	refusals = 0; // of the password, since OBS last took it
	retry = 0;

	// The listener has opened(), heard(eventType, eventData) and lost(trouble, detail).
	constructor(address, password, listener) {
		this.address = serverAddress(address);
		this.password = password;
		this.listener = listener;
		this.connect();
	}

	connect() {
		clearTimeout(this.retry);
		this.connection?.end();
		try {
			this.connection = new Connection(this.address, this.password, {
				opened: () => this.opened(),
				heard: (type, data) => this.listener.heard(type, data),
				ended: (trouble, detail) => this.lost(trouble, detail),
			});
		} catch (error) {
			queueMicrotask(() => this.listener.lost(Trouble.address, error.message));
		}
	}

	opened() {
		this.refusals = 0;
		this.listener.opened();
	}

	// OBS writes each refused password into its log and shows it to the user.
	lost(trouble, detail) {
		const refused = trouble === Trouble.password;
		const wait = refused ? Math.min(retryMs * 2 ** this.refusals++, longestRetryMs) : retryMs;
		this.retry = setTimeout(() => this.connect(), wait);
		this.listener.lost(trouble, detail);
	}

	isOpen() {
		return Boolean(this.connection?.identified && !this.connection.ended);
	}

	// Returns the dock's answer; where there is none, a refusal with OBS's comment, which may be empty.
	async ask(requestType, requestData = {}) {
		const { requestStatus, responseData } = await this.request("CallVendorRequest",
			{ vendorName: vendor, requestType, requestData });
		return responseData?.responseData ?? { success: false, comment: requestStatus.comment ?? "" };
	}

	async request(requestType, requestData) {
		if (!this.isOpen())
			return { requestStatus: { result: false, comment: "" } };
		return this.connection.request(requestType, requestData);
	}

	close() {
		clearTimeout(this.retry);
		this.connection?.end();
	}
}
