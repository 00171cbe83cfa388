"""The page that runs the queue, by a finger, against what the dock and the source then have."""

import json
import shutil

from obs_config import SOURCE, vlc_source
from obs_host import wait_for
from page import open_page
from show import MARK, expect, playing, queue_of, soon

AXE = "js/node_modules/axe-core/axe.min.js"
# Brings a row to the middle, waits as long as a hand needs for the way, and names the part that the finger goes to.
AIM = """(async (place, part) => {
    const { id } = control.list.tracks[place];
    control.list.show(id);
    const last = () => Math.max(control.list.movedAt, window.lastUp ?? 0);
    do await new Promise(requestAnimationFrame); while (performance.now() - last() < 2 * handMs);
    document.querySelector("#aim")?.removeAttribute("id");
    control.list.rows.get(id).querySelector(part).id = "aim";
})"""

FAULTS = "axe.run().then(({violations}) => violations.map(({id, nodes}) => id + nodes[0].html))"
IS_IN_ORDER = """[...document.querySelectorAll(".row:not([hidden])")].map((row) => Number(row.ariaPosInSet))
    .every((number, at, all) => at === 0 || all[at - 1] < number)"""


class Hand:
    """A finger on the page of a phone, and what is then to be seen there and in the dock."""

    def __init__(self, obs, page):
        self.obs, self.page = obs, page
        page.look("addEventListener('pointerup', () => { window.lastUp = performance.now(); }, true)")

    def aim(self, place, part):
        self.page.look(f"{AIM}({place}, '{part}')")
        return "#aim"

    def names(self):
        return self.page.look("control.list.tracks.map(({label}) => label)")

    def tap(self, name, part=".start"):
        self.page.tap(self.aim(self.names().index(name), part))

    def drag(self, name, rows):
        """Moves a track so many rows down by its handle."""
        start = self.page.point(self.aim(self.names().index(name), ".handle"))
        self.page.touch("Start", start)
        for part in (0.2, 0.6, 1):
            self.page.touch("Move", {**start, "y": start["y"] + rows * part * self.page.look("rowHeight")})
        self.page.touch("End")

    def choose(self, select, value):
        self.page.look(f"element('{select}').focus()")  # which stays there
        self.page.look(f"element('{select}').value = '{value}', element('{select}').dispatchEvent(new Event('change'))")

    def text(self, selector):
        return self.page.look(f"document.querySelector('{selector}')?.textContent")

    def sees(self, what, names):
        soon(f"{what}, in the dock", lambda: queue_of(self.obs), names)
        soon(f"{what}, on the page", self.names, names)
        wait_for(f"{what}, with the same mark", lambda: self.obs.labels() == self.page.look(
            f"control.list.tracks.map(({{id, label}}) => (id === control.list.currentId ? '{MARK}' : '') + label)"))

    def media(self, what, state):
        soon(what, lambda: self.obs.media(SOURCE)[0], state)


def edit(hand, names, paths):
    """Twenty tracks are added, three moved and two removed; the removals are taken back."""
    hand.page.tap("#open-add")
    hand.page.look(f"paths.value = {json.dumps(chr(10).join(map(str, paths)))}")
    hand.page.tap("#add [type=submit]")
    hand.sees("pasted paths", names)
    for name, rows in ((names[0], 2), (names[8], -1), (names[19], -2)):
        hand.drag(name, rows)
        place = names.index(name)
        names.insert(place + rows, names.pop(place))
        hand.sees(f"{name} moved", names)
    soon("a screen reader hears the rows in their order", lambda: hand.page.look(IS_IN_ORDER), True)
    for name in (names[3], names[10]):
        hand.tap(name, ".remove")
        hand.sees(f"{name} removed", [other for other in names if other != name])
        hand.page.tap("#undo")
        hand.sees(f"{name} brought back", names)


def play_through(hand, paths):
    """A track is started from its row, paused, sought and followed by its neighbours; one is missing."""
    page = hand.page
    hand.tap(paths[4].name)
    soon("the track of the row plays", lambda: playing(hand.obs, paths[4]), True)
    wait_for("a poll has seen it", lambda: page.look("control.player.head.cursor + control.player.elapsed() > 1000"))
    for button, state, text in (("#play", "paused", "Paused"), ("#play", "playing", "Playing"),
                                ("#stop", "stopped", "Stopped"), ("#play", "playing", "Playing")):
        page.tap(button)
        soon(f"{button}: {state}", lambda: (hand.obs.media(SOURCE)[0], hand.text("#status")), (state, text))
    wait_for("the length is known", lambda: page.look("element('seek').max > 0"))
    page.touch("Start", page.point("#seek"))  # its middle
    page.touch("End")
    wait_for("the middle plays", lambda: 20_000 < hand.obs.media(SOURCE)[1] < 40_000, 10)
    page.tap("#next")
    soon("the next track", lambda: (hand.text("#title"), playing(hand.obs, paths[5])), (paths[5].stem, True))
    paths[6].unlink()
    page.tap("#next")
    soon("the refusal", lambda: hand.text("#message"), "The track's file does not exist")
    soon("the missing track's row", lambda: hand.text(".row.bad .title"), paths[6].stem)
    hand.choose("end-mode", "repeat")
    soon("the end mode in the dock", lambda: hand.obs.widget("endMode").name, "Repeat")
    hand.obs.choose("endMode", "Play Next")
    soon("the end mode on the page", lambda: page.look("element('end-mode').value"), "next")
    page.tap("#open-options")
    page.look("control.tooLate()")
    page.tap("#message")  # is not covered by the dialog
    soon("the message goes", lambda: hand.text("#message"), "", 5)
    page.tap("#skip-failed")
    soon("the option in the dock", lambda: hand.obs.client.dock("GetQueue", limit=0)["skipFailed"], True)
    hand.obs.client.dock("SetStartAgain", enabled=True)
    soon("the other option on the page", lambda: page.look("element('start-again').checked"), True)
    before = hand.names()
    page.tap("#shuffle")
    wait_for("another order", lambda: hand.names() != before)
    page.tap("#bring-back")
    page.tap("#options [type=submit]")
    hand.sees("the old order", before)


def check_accessibility(show, page):
    """The checker finds no fault in the page or in one of its dialogs."""
    page.look((show.arguments.data.parents[1] / AXE).read_text() + "; 0")
    for shown in ("0", "control.tooLate()", "element('open-add').click()", "element('open-options').click()",
                  "control.dialog.open(word('PageLost'))", "askMove('film', 1, 2) && 0"):
        page.look(shown)
        expect(f"faults of accessibility after {shown}", page.look(FAULTS), [])
        page.look("document.querySelector('dialog[open]')?.close()")


def forget_the_address(page):
    """Whoever closes the question for the address can have it again."""
    page.call("Page.navigate", url=page.look("location.href").split("?")[0])
    is_open = "document.querySelector('#connect')?.open ?? false"
    soon("the page asks where OBS is", lambda: page.look(is_open), True)
    page.look("element('connect').requestClose()")
    page.tap("#open-connect")
    soon("it asks again", lambda: page.look(is_open), True)


def run(show):
    """A show of twenty tracks, over a restart of OBS."""
    paths = [show.folder / f"{number:02} film.mp4" for number in range(20)]
    film = show.clip("film.mp4", 60)
    for path in paths:
        shutil.copy(film, path)
    names = [path.name for path in paths]
    obs = show.start(vlc_source([]))
    with open_page(show.arguments.data, show.folder / "browser", show.port, "&lang=en", name="control", width=360,
                   height=740, touch=True) as page:
        hand = Hand(obs, page)
        edit(hand, names, paths)
        play_through(hand, [show.folder / name for name in names])
        check_accessibility(show, page)
        show.end()
        soon("OBS is gone", lambda: page.look("element('app').inert && element('trouble').innerText !== ''"), True)
        expect("faults of accessibility without OBS", page.look(FAULTS), [])
        hand.obs = show.start()
        hand.sees("OBS is back", names)
        soon("the page works again", lambda: page.look("element('app').inert"), False)
        hand.tap(names[7])
        soon("a track plays", lambda: playing(hand.obs, show.folder / names[7]), True)
        forget_the_address(page)
    show.end()
