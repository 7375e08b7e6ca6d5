"""The reference, made anew and looked at in a browser.

usage: reference_test.py TREE FOLDER

FOLDER, which is made anew, holds the reference and pictures of its start pages afterwards. Ends with 77 where what it
needs is not there.
"""

import functools
import http.server
import shutil
import subprocess
import sys
import threading
import unittest
from pathlib import Path
from urllib.parse import unquote, urljoin, urlsplit

TREE, FOLDER = Path(sys.argv[1]), Path(sys.argv[2])

missing = [f"{name} (Debian: {package})" for name, package in (
    ("doxygen", "doxygen"), ("chromium", "chromium"), ("chromedriver", "chromium-driver"),
) if shutil.which(name) is None]
try:
    import markdown_it  # noqa: F401
except ImportError:
    missing.append("markdown_it (Debian: python3-markdown-it)")
try:
    from selenium import webdriver
    from selenium.webdriver.chrome.service import Service
    from selenium.webdriver.common.by import By
    from selenium.webdriver.support.ui import WebDriverWait
except ImportError:
    missing.append("selenium (Debian: python3-selenium)")
if missing:
    print("skipped: not there:", ", ".join(missing))
    sys.exit(77)


class QuietServer(http.server.SimpleHTTPRequestHandler):
    """Keeps what could not be found."""

    lost: list[str] = []

    def log_message(self, *_arguments):
        pass

    def do_GET(self):  # noqa: N802, the base class's name
        if self.path == "/favicon.ico":  # browsers ask for it, whatever the page says
            self.send_response(204)
            self.end_headers()
        else:
            super().do_GET()

    def send_error(self, code, message=None, explain=None):
        self.lost.append(f"{code} {self.path}")
        super().send_error(code, message, explain)


# Of a page as it stands after its scripts: where its links lead, what can be led to, and what is not whole.
LOOK = """
return {
    links: Array.from(document.querySelectorAll('a[href], area[href]')).map(a => a.href),
    names: Array.from(document.querySelectorAll('[id], a[name]')).flatMap(e => [e.id, e.getAttribute('name')]),
    broken: Array.from(document.images).filter(i => i.complete && i.naturalWidth == 0).map(i => i.src),
    text: document.body.innerText.length,
    title: document.title,
};
"""


class Reference(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        made = subprocess.run(
            [TREE / "tools/reference", FOLDER], cwd=TREE, capture_output=True, text=True, timeout=120, check=False
        )
        cls.made = made
        handler = functools.partial(QuietServer, directory=str(FOLDER))
        cls.server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), handler)
        threading.Thread(target=cls.server.serve_forever, daemon=True).start()
        cls.root = f"http://127.0.0.1:{cls.server.server_port}/"
        options = webdriver.ChromeOptions()
        options.binary_location = shutil.which("chromium")
        # No sandbox: root has none, and nothing but the loopback address is looked at.
        for option in ("--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage",
                       "--window-size=1200,900", "--proxy-server=direct://"):
            options.add_argument(option)
        options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
        cls.browser = webdriver.Chrome(service=Service(shutil.which("chromedriver")), options=options)
        cls.browser.set_page_load_timeout(30)

    @classmethod
    def tearDownClass(cls):
        cls.browser.quit()
        cls.server.shutdown()
        cls.server.server_close()

    def colours(self, mode):
        """Of the start page's paper and ink, with a picture of it."""
        media = {"features": [{"name": "prefers-color-scheme", "value": mode}]}
        self.browser.execute_cdp_cmd("Emulation.setEmulatedMedia", media)
        return self.browser.execute_script(
            "const style = getComputedStyle(document.querySelector('.page, #doc-content, body'));"
            "return [style.backgroundColor, getComputedStyle(document.querySelector('main, .contents')).color];"
        )

    def test_every_public_name_has_its_comment(self):
        self.assertEqual(self.made.returncode, 0, self.made.stderr)

    def test_every_page_loads_and_every_link_holds(self):
        pages, names, faults = {}, {}, []
        for file in sorted(FOLDER.rglob("*.html")):
            # What the search shows comes in a frame of its own.
            if "search" in file.relative_to(FOLDER).parts:
                continue
            address = self.root + file.relative_to(FOLDER).as_posix()
            self.browser.get(address)
            seen = self.browser.execute_script(LOOK)
            pages[address] = seen["links"]
            names[urlsplit(address).path] = set(seen["names"])
            if not seen["title"] or seen["text"] < 20:
                faults.append(f"{address} shows nothing")
            faults += [f"{address}: {picture} is no picture" for picture in seen["broken"]]
        self.assertGreater(len(pages), 50)
        for address, links in pages.items():
            for link in links:
                parts = urlsplit(urljoin(address, link))
                if parts.netloc != urlsplit(self.root).netloc:
                    continue
                goal = FOLDER / unquote(parts.path).lstrip("/")
                known = names.get(parts.path)
                if not goal.is_file() and not (goal / "index.html").is_file():
                    faults.append(f"{address}: {link}: there is no such page")
                elif parts.fragment and known is not None and unquote(parts.fragment) not in known:
                    faults.append(f"{address}: {link}: there is no such place")
        said = [entry["message"] for entry in self.browser.get_log("browser") if entry["level"] == "SEVERE"]
        self.assertEqual(faults + QuietServer.lost + said, [])

    def test_start_page_is_light_and_dark(self):
        for place, name in (("index.html", "start"), ("api/index.html", "reference")):
            self.browser.get(self.root + place)
            shown = {}
            for mode in ("light", "dark"):
                shown[mode] = self.colours(mode)
                self.browser.save_screenshot(str(FOLDER / f"{name}-{mode}.png"))
            self.assertNotEqual(shown["light"][0], shown["dark"][0], place)
            self.assertNotEqual(shown["light"][1], shown["dark"][1], place)

    def test_search_finds_a_name(self):
        self.browser.get(self.root + "api/index.html")
        self.browser.find_element(By.ID, "MSearchField").send_keys("FallcatchInit")
        frame = WebDriverWait(self.browser, 20).until(lambda b: b.find_element(By.ID, "MSearchResults"))
        self.browser.switch_to.frame(frame)
        found = WebDriverWait(self.browser, 20).until(
            lambda b: [e for e in b.find_elements(By.CLASS_NAME, "SRSymbol") if e.text == "FallcatchInit"]
        )
        self.assertTrue(found)


unittest.main(argv=sys.argv[:1] + sys.argv[3:])
