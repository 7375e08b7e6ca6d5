"""Fetching Breakpad's source from a registry on the loopback address that answers well, badly or not at all."""

import http.server
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import threading
import time
import unittest

CMAKE, SCRIPT, ARCHIVE = sys.argv[1:4]
NAME = "minidump-0.26.0.tgz"
del sys.argv[1:4]


class Registry(http.server.ThreadingHTTPServer):
    daemon_threads = True

    def __init__(self, answer):
        self.answer = answer
        self.asked = []
        self.ended = threading.Event()
        super().__init__(("127.0.0.1", 0), Handler)
        threading.Thread(target=self.serve_forever, daemon=True).start()

    def close(self):
        self.ended.set()
        self.shutdown()
        self.server_close()


class Handler(http.server.BaseHTTPRequestHandler):
    def do_GET(self):  # noqa: N802, the server's name for it
        self.server.asked.append(self.path)
        self.server.answer(self)

    def log_message(self, *_):
        pass


def give(body):
    def answer(handler):
        handler.send_response(200)
        handler.send_header("Content-Length", str(len(body)))
        handler.end_headers()
        handler.wfile.write(body)
    return answer


def refuse(handler):
    handler.send_error(403)


def keep_silent(handler):
    handler.server.ended.wait(60)


class Fetch(unittest.TestCase):
    def fetch(self, answer, seconds=5, rc=False):
        registry = Registry(answer)
        self.addCleanup(registry.close)
        place = pathlib.Path(tempfile.mkdtemp())
        self.addCleanup(shutil.rmtree, place)
        url = f"http://127.0.0.1:{registry.server_port}"
        # Without npm in the path, so that the file itself is asked for.
        (place / "bin").mkdir()
        environment = {"PATH": str(place / "bin"), "HOME": str(place), "no_proxy": "127.0.0.1"}
        if rc:
            (place / ".npmrc").write_text(f"color=false\nregistry = {url}\n")
        else:
            environment["npm_config_registry"] = url + "/"
        begun = time.monotonic()
        result = subprocess.run(
            [CMAKE, f"-DFALLCATCH_BREAKPAD_CACHE={place / 'cache'}", f"-DFALLCATCH_FETCH_SECONDS={seconds}",
             "-P", SCRIPT],
            env=environment, capture_output=True, text=True, timeout=60, check=False)
        return result, registry.asked, time.monotonic() - begun, place / "cache" / NAME

    def expect_ways_on(self, result, kept):
        self.assertNotEqual(result.returncode, 0)
        self.assertFalse(kept.exists())
        for option in ("FALLCATCH_BREAKPAD_SOURCE=", "FALLCATCH_BREAKPAD_CACHE=", "FALLCATCH_BREAKPAD=OFF"):
            self.assertIn(option, result.stderr)
        self.assertLess(len(result.stderr.splitlines()), 20, result.stderr)

    @unittest.skipUnless(os.path.exists(ARCHIVE), "this build has fetched nothing")
    def test_the_one_file_comes_from_the_registry_that_npm_is_configured_for(self):
        for rc in (False, True):
            with self.subTest(rc=rc):
                result, asked, _, kept = self.fetch(give(pathlib.Path(ARCHIVE).read_bytes()), rc=rc)
                self.assertEqual(result.returncode, 0, result.stderr)
                self.assertEqual(asked, ["/minidump/-/" + NAME])
                self.assertEqual(kept.read_bytes(), pathlib.Path(ARCHIVE).read_bytes())

    def test_something_else_under_the_name_is_not_used_and_not_asked_for_again(self):
        result, asked, _, kept = self.fetch(give(b"something else"))
        self.expect_ways_on(result, kept)
        self.assertIn("checksum", result.stderr)
        self.assertEqual(len(asked), 1)

    def test_a_refusal_is_final(self):
        result, asked, _, kept = self.fetch(refuse)
        self.expect_ways_on(result, kept)
        self.assertEqual(len(asked), 1)

    def test_a_silent_registry_is_given_up_after_three_tries(self):
        result, asked, took, kept = self.fetch(keep_silent, seconds=1)
        self.expect_ways_on(result, kept)
        self.assertEqual(len(asked), 3)
        self.assertLess(took, 20)


if __name__ == "__main__":
    unittest.main()
