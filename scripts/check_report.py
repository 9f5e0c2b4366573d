# SPDX-FileCopyrightText: LibZelmo contributors
# SPDX-License-Identifier: GPL-3.0-or-later
"""Checks report.html in a headless Chromium; see check_report.sh. Needs nothing but Python itself."""
import base64
import json
import math
import os
import shutil
import subprocess
import sys
import tempfile
import time

FLAGS = """--headless --no-sandbox --disable-gpu --disable-quic --no-first-run --hide-scrollbars
--disable-background-networking --disable-component-update --disable-sync --disable-extensions
--remote-debugging-pipe""".split()
PAPER_WIDTH = 1039  # pixels of 1/96 inch between the margins of A4 landscape

# Everything that the page says of numbers, and what would make it hard to use.
READ_PAGE = """(() => {
  const all = selector => [...document.querySelectorAll(selector)];
  const ids = all('[id]').map(e => e.id);
  return {
    numbers: all('data').map(e => [e.dataset.path, e.value, e.textContent]),
    embedded: document.getElementById('report').textContent,
    rows: all('table.features tbody tr:not(.group)').map(
        e => [e.querySelector('th').textContent, e.querySelector('.verdict').textContent]),
    plots: all('svg.plot').length,
    repeated: ids.filter((id, i) => ids.indexOf(id) !== i),
    dead: all('a[href^="#"]').map(e => e.getAttribute('href').slice(1)).filter(
        id => !document.getElementById(id)),
    outside: all('[src],[href]').map(e => e.getAttribute('src') || e.getAttribute('href')).filter(
        url => !url.startsWith('#') && !url.startsWith('data:')),
    unnamed: all('svg').filter(e => e.getAttribute('role') !== 'img' ||
        !e.getAttribute('aria-label')).length +
        all('table').filter(e => !e.caption).length + all('th').filter(e => !e.scope).length,
    unstyled: all('svg path,svg circle,svg rect').filter(e => {
      const style = getComputedStyle(e);
      return style.fill === 'rgb(0, 0, 0)' || (style.fill === 'none' && style.stroke === 'none');
    }).map(e => e.getAttribute('class')),
    levels: all('h1,h2,h3,h4').map(e => Number(e.tagName[1])),
  };
})()"""

# Texts of less contrast than 4.5 to 1 against what lies behind them.
READ_CONTRAST = """(() => {
  const channels = text => text.match(/[0-9.]+/g).map(Number);
  const light = ([r, g, b]) => [r, g, b].map(v => v / 255).map(
      v => v <= 0.04045 ? v / 12.92 : ((v + 0.055) / 1.055) ** 2.4).reduce(
      (sum, v, i) => sum + v * [0.2126, 0.7152, 0.0722][i], 0);
  const behind = e => {
    for (; e; e = e.parentElement) {
      const own = channels(getComputedStyle(e).backgroundColor);
      if (own.length < 4 || own[3] > 0) return own;
    }
    return [255, 255, 255];
  };
  const weak = new Set();
  for (const e of document.querySelectorAll('body *:not(script):not(style)')) {
    const text = [...e.childNodes].filter(n => n.nodeType === 3).map(n => n.data.trim()).join('');
    if (!text || !e.checkVisibility()) continue;
    const style = getComputedStyle(e);
    const a = light(channels(e.closest('svg') ? style.fill : style.color));
    const b = light(behind(e));
    const ratio = (Math.max(a, b) + 0.05) / (Math.min(a, b) + 0.05);
    if (ratio < 4.5) weak.add(e.tagName + '.' + e.getAttribute('class') + ' ' + ratio.toFixed(2));
  }
  return [...weak];
})()"""

# Tables wider than the page, and the page wider than its window.
READ_OVERFLOW = """[
  [...document.querySelectorAll('.scroll')].filter(e => e.scrollWidth > e.clientWidth + 1).length,
  document.documentElement.scrollWidth - window.innerWidth]"""


class Browser:
    """One page of a Chromium that is spoken to through a pair of pipes."""

    def __init__(self):
        self.profile = tempfile.mkdtemp()
        to_browser, self.out = os.pipe()
        self.inp, from_browser = os.pipe()
        log = open(os.path.join(self.profile, "log"), "wb")

        def connect():
            # By way of high numbers: the pipes may have 3 and 4 themselves.
            os.dup2(to_browser, 63)
            os.dup2(from_browser, 64)
            os.dup2(63, 3)
            os.dup2(64, 4)

        self.process = subprocess.Popen(
            ["chromium", *FLAGS, "--user-data-dir=" + self.profile, "about:blank"],
            preexec_fn=connect, close_fds=False, stdout=log, stderr=log)
        os.close(to_browser)
        os.close(from_browser)
        self.rest, self.last, self.events, self.session = b"", 0, [], None
        page = [t for t in self.call("Target.getTargets")["targetInfos"] if t["type"] == "page"][0]
        self.session = self.call("Target.attachToTarget",
                                 {"targetId": page["targetId"], "flatten": True})["sessionId"]
        for domain in ("Page", "Runtime", "Log", "Network"):
            self.call(domain + ".enable")

    def message(self):
        while b"\0" not in self.rest:
            part = os.read(self.inp, 1 << 20)
            if not part:
                raise SystemExit("check_report: the browser ended early")
            self.rest += part
        text, self.rest = self.rest.split(b"\0", 1)
        return json.loads(text)

    def call(self, method, parameters=None):
        self.last += 1
        request = {"id": self.last, "method": method, "params": parameters or {}}
        if self.session:
            request["sessionId"] = self.session
        data = json.dumps(request).encode() + b"\0"
        while data:
            data = data[os.write(self.out, data):]
        while True:
            answer = self.message()
            if answer.get("id") == self.last:
                if "error" in answer:
                    raise SystemExit(f"check_report: {method}: {answer['error']}")
                return answer["result"]
            self.events.append(answer)

    def evaluate(self, script):
        result = self.call("Runtime.evaluate", {"expression": script, "returnByValue": True})
        if "exceptionDetails" in result:
            raise SystemExit(f"check_report: {result['exceptionDetails']}")
        return result["result"]["value"]

    def show(self, url, width, scheme, medium="screen"):
        self.call("Emulation.setDeviceMetricsOverride",
                  {"width": width, "height": 900, "deviceScaleFactor": 1, "mobile": False})
        self.call("Emulation.setEmulatedMedia", {
            "media": medium, "features": [{"name": "prefers-color-scheme", "value": scheme}]})
        self.call("Page.navigate", {"url": url})
        while self.evaluate("document.readyState") != "complete":
            time.sleep(0.05)

    def picture(self, path, top, width, height):
        shot = self.call("Page.captureScreenshot", {
            "captureBeyondViewport": True,
            "clip": {"x": 0, "y": top, "width": width, "height": height, "scale": 1}})
        with open(path, "wb") as file:
            file.write(base64.b64decode(shot["data"]))

    def close(self):
        self.call("Browser.close")
        self.process.wait(20)
        shutil.rmtree(self.profile, ignore_errors=True)


def trouble_of(events, url):
    """What the page wrote as an error, and whatever it asked for beside itself."""
    found = []
    for event in events:
        method, told = event.get("method"), event.get("params", {})
        if method == "Runtime.exceptionThrown":
            found.append("an exception: " + told["exceptionDetails"]["text"])
        elif method == "Runtime.consoleAPICalled" and told["type"] in ("error", "warning", "assert"):
            found.append("the console says: " + str(told["args"]))
        elif method == "Log.entryAdded" and told["entry"]["level"] in ("error", "warning"):
            found.append("the console says: " + told["entry"]["text"])
        elif method == "Network.requestWillBeSent":
            asked = told["request"]["url"]
            if asked != url and not asked.startswith(("data:", "about:")):
                found.append("it asks for " + asked)
    return found


def at(report, path):
    for name in path.split("/"):
        report = report[int(name)] if isinstance(report, list) else report[name]
    return report


def numbers_of(report):
    """The paths that the page has to show: all that is measured, and what it is held against."""
    for i, feature in enumerate(report["features"]):
        yield from (f"features/{i}/picked", f"features/{i}/used")
        for k, one in enumerate(feature["quantities"]):
            yield from (f"features/{i}/quantities/{k}/{name}"
                        for name in ("nominal", "measured", "deviation") if one[name] is not None)
    for i, one in enumerate(report["requirements"]):
        yield from (f"requirements/{i}/{name}"
                    for name in ("nominal", "tolerance", "measured", "deviation")
                    if one[name] is not None)


def check_numbers(page, report):
    found, shown = [], set()
    for path, value, text in page["numbers"]:
        shown.add(path)
        wanted = at(report, path)
        if float(value) != wanted:
            found.append(f"{path}: the page holds {value}, report.json {wanted}")
        rounded = text.replace("\u2212", "-")
        decimals = len(rounded.partition(".")[2])
        if not math.isclose(float(rounded), wanted, rel_tol=1e-12,
                            abs_tol=0.5 * 10.0 ** -decimals * (1 + 1e-9)):
            found.append(f"{path}: the page shows {text}, report.json says {wanted}")
    missing = [path for path in numbers_of(report) if path not in shown]
    if missing:
        found.append(f"{len(missing)} numbers are not shown, {missing[0]} the first")
    if json.loads(page["embedded"]) != report:
        found.append("the data in the page are not report.json")
    rows = sorted(page["rows"])
    wanted_rows = sorted([f["name"], f["verdict"]] for f in report["features"])
    if [name for name, _ in rows] != [name for name, _ in wanted_rows]:
        found.append(f"{len(rows)} rows for {len(wanted_rows)} features, or other names")
    found += [f"{row[0]}: the page says '{row[1]}', report.json '{wanted[1]}'"
              for row, wanted in zip(rows, wanted_rows) if not row[1].endswith(wanted[1])]
    return found


def check_page(page, report):
    found = check_numbers(page, report)
    measured = sum(one["status"] == "measured" for one in report["features"])
    if page["plots"] < 2 * measured:
        found.append(f"{page['plots']} plots for {measured} measured features")
    for name in ("repeated", "dead", "outside", "unstyled"):
        if page[name]:
            found.append(f"{name} ids, links, addresses or shapes: {page[name][:5]}")
    if page["unnamed"]:
        found.append(f"{page['unnamed']} pictures, tables or head cells without a name or scope")
    levels = page["levels"]
    if levels[0] != 1 or any(b > a + 1 for a, b in zip(levels, levels[1:])):
        found.append("the levels of the headings leave one out")
    return found


def main():
    results, pictures = sys.argv[1:3]
    os.makedirs(pictures, exist_ok=True)
    url = "file://" + os.path.abspath(os.path.join(results, "report.html"))
    with open(os.path.join(results, "report.json"), encoding="utf-8") as file:
        report = json.load(file)
    browser, found = Browser(), []
    for name, width, scheme in (("light", 1380, "light"), ("dark", 1380, "dark"),
                                ("narrow", 420, "light")):
        browser.show(url, width, scheme)
        if name == "light":
            page = browser.evaluate(READ_PAGE)
            found += check_page(page, report)
        found += [f"{name}: too little contrast: {weak}" for weak in browser.evaluate(READ_CONTRAST)]
        if browser.evaluate(READ_OVERFLOW)[1] > 0:
            found.append(f"{name}: the page is wider than its window")
        for part in ("summary", "features", "requirements", "details"):
            top = browser.evaluate(
                f"document.getElementById('{part}').getBoundingClientRect().top + scrollY")
            browser.picture(os.path.join(pictures, f"{name}-{part}.png"),
                            0 if part == "summary" else top, width, 1900)
    browser.show(url, PAPER_WIDTH, "light", "print")
    if browser.evaluate(READ_OVERFLOW) != [0, 0]:
        found.append(f"on paper columns are lost: {browser.evaluate(READ_OVERFLOW)}")
    paper = browser.call("Page.printToPDF", {"preferCSSPageSize": True, "printBackground": True})
    with open(os.path.join(pictures, "report.pdf"), "wb") as file:
        file.write(base64.b64decode(paper["data"]))
    found += trouble_of(browser.events, url)
    browser.close()
    for line in found[:20]:
        print("check_report: " + line, file=sys.stderr)
    if found:
        raise SystemExit(f"check_report: {len(found)} troubles")
    print(f"{url}: {len(page['numbers'])} numbers of {len(page['rows'])} features and "
          f"{page['plots']} plots agree with report.json; pictures in {pictures}")


if __name__ == "__main__":
    main()
