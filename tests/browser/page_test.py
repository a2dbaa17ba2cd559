"""The page in a real browser, over a real daemon on the simulated plant. Each story leaves its pictures, at 1280
and 390 pixels, light and dark, in the folder of LUMORA_PICTURES."""

import os
import pathlib
import re
import unittest

import node as nodes
from driver import Browser, await_that

PICTURES = pathlib.Path(os.environ["LUMORA_PICTURES"])
LOOKS = [(1280, "light"), (1280, "dark"), (390, "light"), (390, "dark")]
SCRIPT = "<script>document.title='taken'</script><img src=x onerror=alert(1)>"


class Story(unittest.TestCase):
    """A node and a page of it for each class."""

    product = "orvalite"

    @classmethod
    def setUpClass(cls):
        PICTURES.mkdir(parents=True, exist_ok=True)
        cls.browser = Browser()
        cls.addClassCleanup(cls.browser.close)
        cls.node = nodes.Node(cls.product)
        cls.addClassCleanup(cls.node.close)
        cls.prepare()

    @classmethod
    def prepare(cls):
        pass

    def open(self, address=None):
        self.browser.open(address or self.node.address)
        await_that("a live page", lambda: self.browser.text("#sight") == "live")

    def await_states(self, count, state):
        await_that(f"{count} channels {state}",
                   lambda: self.browser.count(f'.slot[data-state="{state}"]') >= count)

    def await_state(self, channel, state):
        await_that(f"{channel} {state}", lambda: self.browser.attribute(f"#bar-{channel}", "data-state") == state)

    def await_summary(self, words):
        await_that(words, lambda: words in self.browser.text("#summary"))

    def figure(self, name):
        told = self.browser.run(
            "const row = [...document.querySelectorAll('#channel-figures > div')].find((each) => each.firstChild.textContent === arguments[0]);"
            "return row?.lastChild.firstChild.textContent", name)
        return float(told) if re.match(r"[\d.]+$", told or "") else -1

    def pictures(self, name):
        for width, scheme in LOOKS:
            self.browser.look(width, scheme)
            self.assertEqual(self.browser.run("return document.documentElement.scrollWidth"), width, name)
            self.browser.picture(PICTURES / f"{name}-{width}-{scheme}.png")
        self.browser.look(1280, "light")
        self.assertEqual(self.browser.faults(), [])


class OneNode(Story):
    def setUp(self):
        self.node.plant.run("command/node/0/fillBand", True)
        self.node.plant.set("config/node/0/laser/19230000/power", 0)
        self.open()
        self.await_states(32, "on target")

    def test_pointed_channel_tells_why_by_pointer_and_keys(self):
        self.browser.point_at("#bar-19230000 .hit")
        await_that("its sentence", lambda: "on target" in self.browser.text("#channel-why"))
        self.assertEqual(self.browser.text("#channel-name"), "192.30 THz")
        self.browser.press("#bars", "right")
        await_that("its neighbour", lambda: self.browser.text("#channel-name") == "192.45 THz")
        self.assertEqual(self.browser.attribute("#bars", "aria-activedescendant"), "bar-19245000")
        self.browser.press("#bars", "end")
        await_that("the last one", lambda: self.browser.text("#channel-name") == "196.05 THz")
        await_that("its own sentence", lambda: "on target" in self.browser.text("#channel-why"))
        self.pictures("spectrum-32")

    def test_channel_jumps_is_exhausted_goes_dark_and_comes_back(self):
        self.browser.press("#bars", "home")
        for _ in range(6):
            self.browser.press("#bars", "right")
        self.assertEqual(self.browser.text("#channel-name"), "192.30 THz")
        await_that("the bench", lambda: self.browser.count("#bench:not([hidden])") == 1)
        self.browser.click_button("3 dB weaker")
        await_that("a jump", lambda: self.browser.attribute("#bar-19230000", "data-state") != "on target")
        self.await_state(19230000, "on target")
        self.browser.click_button("12 dB weaker")
        self.await_state(19230000, "exhausted (too weak)")
        await_that("why", lambda: "fully open" in self.browser.text("#channel-why"))
        await_that("three lines of history", lambda: all(
            self.browser.attribute(f".{line}-line", "d") for line in ("power", "target", "attenuation")))
        self.assertRegex(self.browser.attribute("#plot", "aria-label"), r"power from .* target from .* attenuation from")
        self.pictures("exhausted")
        self.browser.click_button("Darken")
        self.await_state(19230000, "dark")
        await_that("the event", lambda: "192.30 rx is dark" in self.browser.text("#log-list"))
        self.pictures("dark")
        self.browser.click_button("As it was")
        self.await_state(19230000, "on target")

    def test_each_fault_of_the_bench_is_seen_and_mended(self):
        await_that("the bench", lambda: self.browser.count("#bench:not([hidden])") == 1)
        channel = int(self.browser.attribute("#channel", "data-id"))
        for fault, state, cure in (("Shift by 100 GHz", "dark", "As it was"), ("Darken", "dark", "Light")):
            self.browser.click_button(fault)
            self.await_state(channel, state)
            self.assertEqual(self.browser.count("#channel-pinned:not([hidden])"), 1, "the cure is for the same one")
            self.browser.click_button(cure)
            self.await_state(channel, "on target")
        self.browser.click_button("Noise of 0.4 dB")
        await_that("channels off their targets", lambda: self.browser.count('.slot[data-state="on target"]') < 32)
        self.pictures("noise")
        self.browser.click_button("Stand still")
        await_that("an old reading", lambda: self.figure("reading's age") > 5)
        self.browser.click_button("Quiet")
        self.await_states(32, "on target")
        await_that("a fresh reading", lambda: self.figure("reading's age") < 5)
        self.browser.run("document.querySelector('#bench-device').value = 'wss_edge'")
        for fault, told in (("Hang", "No answer within"), ("Kill", "Not connected")):
            self.browser.click_button(fault)
            self.await_summary(told)
            await_that("its loss", lambda: self.browser.count('.slot[data-state="on target"]') == 0)
            await_that("why", lambda: re.match(
                rf"client rx and client tx are down .*{told}", self.browser.text("#log-list li > span")))
            self.assertNotRegex(self.browser.text("#summary"), r"\dT\d\d:|UTC", "times as people read them")
            self.pictures(f"device-{fault.lower()}")
            self.browser.click_button("Heal")
            self.await_states(32, "on target")

    def test_what_is_broken_stands_there_and_is_mended_at_once(self):
        def broken(text):
            await_that(f"'{text}' broken", lambda: self.browser.text("#bench-broken") == text)

        broken("")
        self.browser.click_button("12 dB weaker")
        self.browser.run("document.querySelector('#bench-device').value = 'booster'")
        for fault in ("Hang", "Span +3 dB", "Connector to the booster +3 dB", "Cut outgoing", "Darken", "Stand still"):
            self.browser.click_button(fault)
        thz = self.browser.text("#channel-name").split()[0]
        known = ("Broken now: the outgoing fibre is cut, the outgoing fibre loses +3 dB, the connector to the booster"
                 f" loses +3 dB, the laser at {thz} is dark, the laser at {thz} is at \u221212 dBm")
        broken(f"{known}, booster is hung and the monitor's readings are false.")
        self.open()
        broken(f"{known} and booster is hung.")
        self.pictures("broken")
        self.browser.click_button("Mend all")
        broken("")
        self.await_states(32, "on target")
        self.node.plant.set(f"config/node/0/laser/{round(float(thz) * 1e5)}/power", -12)
        broken(f"Broken now: the laser at {thz} is at \u221212 dBm.")
        self.browser.click_button("Mend all")
        self.await_states(32, "on target")

    def test_history_is_there_for_who_comes_late(self):
        self.node.plant.set("config/node/0/laser/19230000/power", -3)
        await_that("a jump", lambda: self.browser.attribute("#bar-19230000", "data-state") != "on target")
        self.await_state(19230000, "on target")
        self.open()
        self.await_state(19230000, "on target")
        self.browser.point_at("#bar-19230000 .hit")

        def span():
            told = self.browser.attribute("#plot", "aria-label").replace("\u2212", "-")
            found = re.search(r"power from (\S+) to (\S+) dBm", told)
            return found and float(found[2]) - float(found[1])

        await_that("the jump in the plot", lambda: (span() or 0) > 2)
        self.browser.point_at("#plot")
        for run in self.browser.attribute(".power-line", "d").split("M")[1:]:
            corners = [corner.split() for corner in run.split("L")]
            for (x1, y1), (x2, y2) in zip(corners, corners[1:]):
                self.assertTrue(x1 == x2 or y1 == y2, "no slope that nobody has measured")
        await_that("figures at the pointed time", lambda: self.browser.count("#plot .readout") == 2)
        self.pictures("history")

    def test_all_of_it_by_keyboard(self):
        self.browser.run("document.body.focus()")
        reached = set()
        for _ in range(60):
            self.browser.type("tab")
            name, seen = self.browser.run(
                "const at = document.activeElement;"
                "const rings = [at, at.closest('label'), at.closest('#spectrum')].filter(Boolean);"
                "return [at.id || at.name || at.textContent || at.tagName,"
                " at === document.body || rings.some((each) => getComputedStyle(each).outlineStyle !== 'none')]")
            self.assertTrue(seen, f"no focus ring at {name}")
            reached.add(name.strip())
        self.assertLessEqual({"To the channels", "Cut both", "bench-device", "Quiet", "side", "bars", "The tree"}, reached)
        self.browser.press("#bars", "home")
        self.browser.press("#bars", "right")
        self.assertEqual(self.browser.text("#channel-name"), "191.55 THz")
        await_that("words for who listens", lambda: self.browser.text("#channel-said").startswith("on target: "))
        self.assertEqual(self.browser.count("#channel-pinned:not([hidden])"), 1)
        self.browser.type("escape")
        self.assertEqual(self.browser.count("#channel-pinned:not([hidden])"), 0)

    def test_states_look_as_the_daemon_ranks_them(self):
        for kind in ("channel", "line"):
            source = (nodes.SOURCE / f"states/{kind}_state.cpp").read_text()
            rows = re.findall(r'\{"([^"]+)", (\w+), colour::(\w+)\}', source)
            self.assertGreater(len(rows), 10)
            drawn = self.browser.run_async(
                "const done = arguments[2];"
                "import('/states.js').then((m) => done(arguments[0].map(([text]) => {"
                " const look = (arguments[1] === 'channel' ? m.stateOfChannel : m.stateOfLine)(text);"
                " return [text, look.severity, look.colour]; })))", rows, kind)
            self.assertEqual([list(row) for row in rows], drawn)

    def test_nothing_moves_while_the_page_comes_up(self):
        for width, scheme in LOOKS[::2]:
            self.browser.look(width, scheme)
            self.open()
            self.await_states(32, "on target")
            await_that("the bench", lambda: self.browser.count("#bench-device option") > 1)
            moved = self.browser.run_async(
                "const done = arguments[0];"
                "new PerformanceObserver((list) => done(list.getEntries().reduce((sum, each) => sum + each.value, 0)))"
                ".observe({type: 'layout-shift', buffered: true}); setTimeout(() => done(0), 500)")
            self.assertLess(moved, 0.02, width)
        self.browser.look(1280, "light")

    def test_more_tabs_than_a_browser_has_connections(self):
        tabs = [self.browser.tab()]
        for _ in range(7):
            self.browser.open_tab()
            tabs.append(self.browser.tab())
            self.open()
            self.await_states(32, "on target")
            await_that("its sentence", lambda: "on target" in self.browser.text("#channel-why"))
        self.node.plant.set("config/node/0/laser/19230000/on", False)
        self.browser.to_front(tabs[0])
        self.await_state(19230000, "dark")
        await_that("what it has missed", lambda: "192.30 rx is dark" in self.browser.text("#log-list li"))
        self.assertTrue(self.browser.run("return document.querySelector('#blind').hidden"))
        self.node.plant.set("config/node/0/laser/19230000/on", True)
        self.await_states(32, "on target")
        for tab in tabs[1:]:
            self.browser.to_front(tab)
            self.browser.close_tab()
        self.browser.to_front(tabs[0])

    def test_page_of_another_origin_moves_nothing(self):
        with nodes.other_origin() as elsewhere:
            self.browser.open(elsewhere)
            outcome = self.browser.run_async(
                "const [base, done] = arguments; const body = '{\"config/fibre/0/cut\":true}';"
                "const json = {'Content-Type': 'application/json', 'X-Lumora-Request': 'page'};"
                "const tries = [[`${base}api/v1/lab/values`, {method: 'PUT', headers: json, body}],"
                " [`${base}api/v1/lab/values`, {method: 'PUT', mode: 'no-cors', body}],"
                " [`${base}api/v1/lab/run`, {method: 'POST', mode: 'no-cors', body: '{\"path\":\"command/cutLine\",\"args\":true}'}],"
                " [`${base}api/v1/values?path=**`, {}]];"
                "Promise.all(tries.map(([at, how]) => fetch(at, how).then((r) => r.type === 'opaque' ? 'opaque' : r.text(),"
                " () => 'refused'))).then((all) => { const form = document.createElement('form');"
                " form.method = 'POST'; form.enctype = 'text/plain'; form.action = `${base}api/v1/lab/run`;"
                " document.body.append(form); form.submit(); done(all); })", self.node.address)
            self.assertLessEqual(set(outcome), {"refused", "opaque"}, outcome)
            await_that("the form's answer", lambda: "another origin" in self.browser.text("body"))
        self.assertTrue(self.browser.faults(), "the browser says what it has blocked")
        self.assertFalse(self.node.plant.get("config/fibre/0/cut"))
        self.assertFalse(self.node.plant.get("config/fibre/1/cut"))

    def test_description_is_text(self):
        self.node.daemon.set("config/client/19140000/rx/description", SCRIPT)
        self.browser.press("#bars", "home")
        await_that("the description", lambda: self.browser.text("#channel-description") == SCRIPT)
        self.browser.run("document.querySelector('#tree').open = true")
        self.browser.run(
            "const f = document.querySelector('#tree-filter'); f.value = '19140000 description';"
            "f.dispatchEvent(new Event('input'))")
        await_that("the tree", lambda: self.browser.text("#tree-rows td") == SCRIPT)
        self.assertEqual(self.browser.count("#channel-description *") + self.browser.count("#tree-rows td *"), 0)
        self.assertNotEqual(self.browser.run("return document.title"), "taken")
        self.pictures("description")
        self.node.daemon.set("config/client/19140000/rx/description", "")

    def test_daemon_killed_and_back(self):
        self.node.kill_daemon()
        await_that("blindness", lambda: "the daemon does not answer" in self.browser.text("#blind-text"))
        self.assertRegex(self.browser.text("#blind-text"), r"Blind since \d\d:\d\d:\d\d")
        self.pictures("blind")
        self.node.start_daemon()
        self.node.configure()
        await_that("sight", lambda: self.browser.text("#sight") == "live")
        self.await_states(32, "on target")
        self.assertTrue(self.browser.run("return document.querySelector('#blind').hidden"))


class Forty(Story):
    product = "orvamax"

    def test_spectrum_of_40(self):
        self.open()
        self.await_states(40, "on target")
        self.pictures("spectrum-40")


class NinetySix(Story):
    product = "selkaplus"

    @classmethod
    def prepare(cls):
        cls.node.add_channels(96, 5000)

    def test_spectrum_of_96(self):
        self.open()
        await_that("96 channels", lambda: self.browser.count(".slot") == 96)
        self.await_states(41, "on target")
        self.pictures("spectrum-96")


class Pair(Story):
    @classmethod
    def setUpClass(cls):
        PICTURES.mkdir(parents=True, exist_ok=True)
        cls.browser = Browser()
        cls.addClassCleanup(cls.browser.close)
        cls.lab = nodes.Lab("--peer", nodes=2)
        cls.addClassCleanup(cls.lab.close)

    def rung(self, side, point):
        """What is measured there, dBm or dB."""
        told = self.browser.text(f'#ladder-{side} [data-point="{point}"] td:nth-child(4)').replace("\u2212", "-")
        found = re.match(r"-?[\d.]+", told)
        return float(found[0]) if found else float("nan")

    def test_cut_and_mend_from_both_ends_and_a_lost_decibel(self):
        near, far = self.lab.pages
        self.open(near)
        self.await_summary("line at rest")
        self.pictures("pair")
        self.browser.click_button("Cut both")
        for end, page in (("near", near), ("far", far)):
            self.open(page)
            self.await_summary("no fibre")
            await_that("the alarm", lambda: "loss of signal" in self.browser.text("#alarms"))
            self.pictures(f"cut-{end}")
        self.browser.click_button("Mend")
        for page in (near, far):
            self.open(page)
            self.await_summary("32 of 32 lit channels on target")
            await_that("the event", lambda: "line is mended" in self.browser.text("#log-list"))
        self.open(near)
        self.await_summary("line at rest")
        await_that("a learned ladder", lambda: re.search(r"\d", self.browser.text('#ladder-rx [data-point="switch"] td:nth-child(3)')))
        for fault in ("Cut outgoing", "Cut incoming"):
            self.browser.click_button(fault)
            self.await_summary("no fibre")
            self.browser.click_button("Mend")
            self.await_summary("32 of 32 lit channels on target")
        fibre = self.rung("rx", "fibre")
        self.browser.click_button("Span +3 dB")
        await_that("a longer span", lambda: 2.5 < self.rung("rx", "fibre") - fibre < 3.5)
        self.browser.click_button("Clean")
        await_that("the span as it was", lambda: abs(self.rung("rx", "fibre") - fibre) < 0.5)
        self.await_summary("line at rest")
        self.browser.click_button("Connector to the booster +3 dB")
        await_that("a wrong rung", lambda: self.browser.attribute("#ladder-rx", "data-wrong") == "switch")
        self.assertIn("wrong", self.browser.text("#ladder-rx tr.wrong th"))
        self.pictures("ladder-wrong")
        self.browser.click_button("Clean")
        self.lab.plant.set("config/node/1/nexel/booster/state", "killed")
        await_that("the far end's state", lambda: "booster or VOA cannot be read" in self.browser.text("#peer-state"))
        self.assertIn("booster or VOA", self.browser.text('#log-list [data-event="stalled"]'))
        self.pictures("peer-unreadable")
        self.lab.plant.set("config/node/1/nexel/booster/state", "ok")
        await_that("a far end in order", lambda: self.browser.attribute("#peer-state", "hidden") is not None)


if __name__ == "__main__":
    unittest.main(verbosity=2)
