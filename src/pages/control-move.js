/* SPDX-License-Identifier: GPL-2.0-or-later */
"use strict";

const leastDrag = 8; // in pixels; what moves less is a press
const edge = 56; // where the list scrolls under a moved row
const scrollStep = 10; // in pixels for each picture

// Moves a row by its handle. While it is in the hand, the list shows where it would go.
class RowMover {
	constructor(list) {
		this.list = list;
		list.box.addEventListener("pointerdown", (event) => this.begin(event));
		list.box.addEventListener("click", (event) => this.swallow(event), true);
		window.addEventListener("keydown", ({ key }) => key === "Escape" && this.end(false));
	}

	begin(event) {
		const handle = event.target.closest(".handle");
		if (!handle || !event.isPrimary || this.list.isFiltered())
			return;
		this.id = handle.closest(".row").dataset.id;
		this.handle = handle;
		this.startY = this.y = event.clientY;
		this.startTop = this.list.rowOf(this.id) * rowHeight - this.list.scroller.scrollTop;
		this.moves = false;
		handle.setPointerCapture(event.pointerId);
		handle.onpointermove = ({ clientY }) => this.follow(clientY);
		handle.onpointerup = () => this.end(true);
		handle.onpointercancel = () => this.end(false);
	}

	follow(clientY) {
		this.y = clientY;
		if (!this.moves && Math.abs(this.y - this.startY) < leastDrag)
			return;
		if (!this.moves)
			this.lift();
		this.place();
	}

	lift() {
		this.moves = true;
		this.list.draggedId = this.id;
		this.list.rows.get(this.id).classList.add("dragged");
		this.list.box.classList.add("moving");
		const scroll = () => {
			const { top, bottom } = this.list.scroller.getBoundingClientRect();
			const step = this.y < top + edge ? -scrollStep : this.y > bottom - edge ? scrollStep : 0;
			if (step) {
				this.list.scroller.scrollTop += step;
				this.place();
			}
			this.scrolling = requestAnimationFrame(scroll);
		};
		this.scrolling = requestAnimationFrame(scroll);
	}

	place() {
		const last = this.list.shown.length - 1;
		const wanted = this.startTop + this.y - this.startY + this.list.scroller.scrollTop;
		const top = Math.min(Math.max(wanted, 0), last * rowHeight);
		this.list.preview = { from: this.list.rowOf(this.id), to: Math.round(top / rowHeight) };
		this.list.rows.get(this.id).style.transform = `translateY(${top}px)`;
		this.list.draw();
	}

	// Names the row that it goes before, because the queue may have changed in the meantime.
	end(drops) {
		if (!this.handle)
			return;
		this.handle.onpointermove = this.handle.onpointerup = this.handle.onpointercancel = null;
		this.handle = null;
		this.wasMoved = this.moves;
		if (!this.moves)
			return;
		this.moves = false;
		cancelAnimationFrame(this.scrolling);
		const { from, to } = this.list.preview;
		const next = this.list.tracks[to < from ? to : to + 1]?.id;
		this.list.preview = null;
		this.list.draggedId = undefined;
		this.list.rows.get(this.id).classList.remove("dragged");
		this.list.box.classList.remove("moving");
		this.list.release();
		this.list.draw();
		if (drops && from !== to)
			this.list.owner.moveBefore(this.id, next);
		setTimeout(() => { this.wasMoved = false; });
	}

	swallow(event) {
		if (this.wasMoved)
			event.stopPropagation();
	}
}
