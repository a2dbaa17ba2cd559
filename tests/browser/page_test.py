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

    def test_device_of_the_bench_hangs_and_heals(self):
        await_that("the bench", lambda: self.browser.count("#bench:not([hidden])") == 1)
        self.browser.run("document.querySelector('#bench-device').value = 'wss_edge'")
        self.browser.click_button("Hang")
        await_that("its loss", lambda: self.browser.count('.slot[data-state="on target"]') == 0)
        self.pictures("device-hangs")
        self.browser.click_button("Heal")
        self.await_states(32, "on target")


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
        await_that("some with light", lambda: self.browser.count(".slot .power:not([visibility])") > 20)
        self.pictures("spectrum-96")


class Pair(Story):
    @classmethod
    def setUpClass(cls):
        PICTURES.mkdir(parents=True, exist_ok=True)
        cls.browser = Browser()
        cls.addClassCleanup(cls.browser.close)
        cls.lab = nodes.LabPair()
        cls.addClassCleanup(cls.lab.close)

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
        self.browser.click_button("Connector to the booster +3 dB")
        await_that("a wrong rung", lambda: self.browser.attribute("#ladder-rx", "data-wrong") == "switch")
        self.assertIn("wrong", self.browser.text("#ladder-rx tr.wrong th"))
        self.pictures("ladder-wrong")
        self.browser.click_button("Clean")


if __name__ == "__main__":
    unittest.main(verbosity=2)
