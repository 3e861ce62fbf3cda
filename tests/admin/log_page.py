#!/usr/bin/env python3
"""log_page.py HOST MODULE TOOL: the page of `log --html`, as a browser shows it.

The sign-in screen HOST lets the MODULE write its log, the TOOL makes a page and JSON of it, and a
headless Chromium tells what became of the page: each sign-in, and a bar for each of its phases that
begins and ends where the JSON says.

log_page.py --picture PNG writes a picture of such a page, with pauses as they are on a PC in use, by the
programs in build/mingw/bin.
"""
import datetime
import html.parser
import json
import os
import shutil
import subprocess
import sys
import tempfile

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
UNDER_WINE = os.path.join(ROOT, "scripts", "under_wine")
SCENARIO = os.path.join(ROOT, "simulator", "scenarios", "wrong-pin.scenario")
BUILT = [os.path.join(ROOT, "build", "mingw", "bin", name) for name in (
    "KelvorSimLogonUi.exe", "KelvorFidoAdLogonCredentialProvider.dll", "KelvorFidoAdLogonAdmin.exe")]
PHASES = ["challenge", "tap", "filter", "arm", "settle", "certificate", "buffer", "collected", "LSA",
          "disarm"]
WRONG_PIN = "Sign-in failed: incorrect PIN — check your security key's PIN and try again"
SKIPPED = 77
MOST_PIXELS_OFF = 2.5  # a bar is never thinner than two
WIDTH, HEIGHT = 960, 614
SLOW_WORLD = "[key]\ntouch = after 1800 ms\n[service]\ndelay = 120 ms\n[lsa]\ndelay = 700 ms\n"
TWO_SIGN_INS = """select tile 1
type PIN 274916
LSA answers STATUS_PKINIT_FAILURE
click
expect logon refused STATUS_PKINIT_FAILURE
expect rest
type PIN 274916
LSA answers STATUS_SUCCESS
click
expect logon accepted
quit
"""
# Runs in the page, and leaves what it found in an attribute of its body.
MEASURE = """<script>
const texts = (of, path) => [...of.querySelectorAll(path)].map(one => one.textContent);
const bar = row => {
  const cell = row.querySelector("td.bar"), filled = cell.firstChild.getBoundingClientRect();
  const left = cell.getBoundingClientRect().left;
  const room = parseFloat(getComputedStyle(cell).width);
  return {name: row.cells[0].textContent, begin: filled.left - left, end: filled.right - left, room,
          height: filled.height, colour: getComputedStyle(cell.firstChild).backgroundColor};
};
document.body.dataset.measured = JSON.stringify({
  mode: document.compatMode, letters: document.characterSet,
  fetched: performance.getEntriesByType("resource").length,
  wider: document.documentElement.scrollWidth - document.documentElement.clientWidth,
  signIns: [...document.querySelectorAll("section")].map(section => ({
    kind: section.className, heading: texts(section, "h2")[0], bars: [...section.querySelectorAll("tr")].map(bar),
    facts: Object.fromEntries(texts(section, "dt").map((name, at) => [name, texts(section, "dd")[at]]))}))});
</script>"""
problems = []


def expect(holds, problem):
    if not holds:
        problems.append(problem)


def windows_path(path):
    return "Z:" + os.path.abspath(path).replace("/", "\\")


def wine(*command, entered=""):
    run = subprocess.run([UNDER_WINE, *command], input=entered.encode(), stdout=subprocess.PIPE,
                         stderr=subprocess.STDOUT, timeout=120, check=False)
    output = run.stdout.decode("utf-8", "replace")
    if run.returncode:
        sys.exit(f"{' '.join(command)}: exit status {run.returncode}\n{output}")
    return output


def browse(page, *options):
    """What Chromium prints of the page. It may ask nobody for anything."""
    with tempfile.TemporaryDirectory() as profile:
        sandbox = ["--no-sandbox"] if os.geteuid() == 0 else []
        run = subprocess.run(
            ["chromium", "--headless", *sandbox, "--disable-gpu", "--hide-scrollbars",
             "--host-resolver-rules=MAP * ~NOTFOUND", f"--user-data-dir={profile}",
             f"--window-size={WIDTH},{HEIGHT}", *options, "file://" + page],
            stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=120, check=False)
    if run.returncode:
        sys.exit(f"chromium: exit status {run.returncode}\n{run.stderr.decode(errors='replace')}")
    return run.stdout.decode()


def measured(page):
    with open(page, encoding="utf-8") as file:
        text = file.read()
    with open(page, "w", encoding="utf-8") as file:
        file.write(text.replace("</body>", MEASURE + "</body>"))
    found = []
    reader = html.parser.HTMLParser()
    reader.handle_starttag = lambda tag, names: found.append(dict(names)) if tag == "body" else None
    reader.feed(browse(page, "--dump-dom"))
    return json.loads(found[0]["data-measured"])


def check_bars(signed_in, shown):
    expect([bar["name"] for bar in shown["bars"]] == [phase["name"] for phase in signed_in["phases"]],
           f"bars: {shown['bars']}")
    for bar, phase in zip(shown["bars"], signed_in["phases"]):
        scale = bar["room"] / max(1, signed_in["durationMs"])
        begin, end = (at * scale for at in (phase["beginMs"], phase["beginMs"] + phase["durationMs"]))
        expect(abs(bar["begin"] - begin) < MOST_PIXELS_OFF and abs(bar["end"] - end) < MOST_PIXELS_OFF,
               f"a bar from {begin} to {end} was drawn so: {bar}")
        expect(bar["room"] > 300 and bar["height"] > 8 and bar["colour"] == "rgb(53, 116, 196)",
               f"a bar that is hard to see: {bar}")


def test(host, module, tool, folder):
    page = os.path.join(folder, "page.html")
    since = ["--since", datetime.datetime.now().strftime("%Y-%m-%d %H:%M:%S.%f")[:-3]]
    output = wine(host, "--register", windows_path(module), "--then", host, "--with-service", "--quiet",
                  "--script", windows_path(SCENARIO), "--then", tool, "log", *since, "--json", "--then",
                  tool, "log", *since, "--html", windows_path(page))
    signed_in = json.loads(output.splitlines()[0])
    expect([one["ending"] for one in signed_in] == ["failed", "accepted"], f"sign-ins: {signed_in}")
    expect([phase["name"] for phase in signed_in[-1]["phases"]] == PHASES, f"phases: {signed_in[-1]}")
    expect(signed_in[0]["shown"] == WRONG_PIN, f"shown: {signed_in[0]['shown']}")
    seen = measured(page)
    expect((seen["mode"], seen["letters"], seen["fetched"]) == ("CSS1Compat", "UTF-8", 0), f"{seen}")
    expect(seen["wider"] <= 0, f"the page is {seen['wider']} pixels wider than the window")
    expect([shown["kind"] for shown in seen["signIns"]] == ["failed", "accepted"], f"{seen['signIns']}")
    for one, shown in zip(signed_in, seen["signIns"]):
        expect(shown["heading"].startswith(one["tile"]) and one["ending"] in shown["heading"] and
               one["time"] in shown["heading"], f"heading {shown['heading']}")
        check_bars(one, shown)
    facts = seen["signIns"][0]["facts"]
    expect(facts.get("the tile said") == WRONG_PIN and facts.get("what to do") == signed_in[0]["whatToDo"]
           and facts["what to do"], f"facts: {facts}")
    for problem in problems:
        print(problem)
    sys.exit(1 if problems else 0)


def take_picture(host, module, tool, folder, png):
    page, world = os.path.join(folder, "page.html"), os.path.join(folder, "world.ini")
    with open(world, "w", encoding="ascii") as file:
        file.write(SLOW_WORLD)
    since = datetime.datetime.now().strftime("%Y-%m-%d %H:%M:%S")
    wine(host, "--register", windows_path(module), "--then", host, "--with-service", "--world",
         windows_path(world), "--then", tool, "log", "--since", since, "--html", windows_path(page),
         entered=TWO_SIGN_INS)
    browse(page, f"--screenshot={os.path.abspath(png)}")
    print(png)


def main(arguments):
    if not shutil.which("chromium"):
        print("Chromium is not there, which has to show the page.")
        sys.exit(SKIPPED)
    with tempfile.TemporaryDirectory() as folder:
        if arguments[0] == "--picture":
            take_picture(*BUILT, folder, arguments[1])
        else:
            test(*arguments, folder)


main(sys.argv[1:])
