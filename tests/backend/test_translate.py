"""The translate function, asked everything in translate.json: the stand-in's own, or the one that is deployed.

usage: test_translate.py TAVRIK-BACKEND PUBLIC-KEY [DENO FUNCTION-FOLDER]
"""

import contextlib
import json
import os
import pathlib
import subprocess
import sys
import unittest
import urllib.error
import urllib.request

BACKEND, PUBLIC_KEY = sys.argv[1:3]
DENO, FUNCTION = sys.argv[3:5] if len(sys.argv) > 4 else (None, None)
SKIPPED = 77
TABLE = json.loads(pathlib.Path(__file__).with_name("translate.json").read_text())
COMPLETIONS = "/api/v1/chat/completions"
# Proxies are for the world outside.
opener = urllib.request.build_opener(urllib.request.ProxyHandler({}))


def ask(url, method="GET", headers=None, body=None):
    request = urllib.request.Request(url, method=method, headers=headers or {}, data=body)
    # In place of a form's type, which would be added.
    if body is not None and not request.has_header("Content-type"):
        request.add_header("Content-type", "")
    try:
        with opener.open(request, timeout=60) as reply:
            return reply.status, reply.read()
    except urllib.error.HTTPError as error:
        with error:
            return error.code, error.read()


@contextlib.contextmanager
def program(*command, env=None, text=None):
    """A program that says where it listens; the URL."""
    process = subprocess.Popen(command, env={**os.environ, **(env or {})}, stdout=subprocess.PIPE, text=True,
                               stdin=subprocess.PIPE if text else subprocess.DEVNULL)
    try:
        if text:
            process.stdin.write(text)
            process.stdin.close()
        line = process.stdout.readline()
        if "http://" not in line:
            raise RuntimeError(f"{command[0]} said {line!r}")
        yield line[line.index("http://"):].strip().rstrip("/")
    finally:
        process.terminate()
        process.wait()
        process.stdout.close()


class Translate(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        start = cls.enterClassContext
        cls.models = start(program(BACKEND, "--port", "0", "--control"))
        project = start(program(BACKEND, "--port", "0", "--upstream", cls.models,
                                env={"OPENROUTER_API_KEY": "sk-owner"}))
        cls.function = f"{project}/functions/v1/translate"
        if DENO:
            subprocess.run([DENO, "check", "--no-lock", f"{FUNCTION}/index.ts"], check=True)
            entry = pathlib.Path(FUNCTION, "translate.ts").as_uri()
            cls.function = start(program(
                DENO, "run", "--no-lock", "--no-remote", "--allow-net=127.0.0.1", "--allow-env", "-",
                env={"SUPABASE_URL": project, "OPENROUTER_URL": cls.models, "OPENROUTER_API_KEY": "sk-owner"},
                text=f"import {{ translate }} from {json.dumps(entry)};\n"
                     'const onListen = ({ port }) => console.log(`http://127.0.0.1:${port}`);\n'
                     'Deno.serve({ hostname: "127.0.0.1", port: 0, onListen }, translate);\n'))
        status, session = ask(f"{project}/auth/v1/signup", "POST",
                              {"apikey": PUBLIC_KEY, "Content-Type": "application/json"},
                              b'{"email": "someone@example.org", "password": "correct horse"}')
        assert status == 200, session
        cls.token = json.loads(session)["access_token"]

    def translate(self, row):
        headers = {"apikey": PUBLIC_KEY}
        if token := row.get("token", self.token):
            headers["Authorization"] = f"Bearer {PUBLIC_KEY if token == 'PUBLIC' else token}"
        if kind := row.get("type", "application/json"):
            headers["Content-Type"] = kind
        members = {"audio": row.get("audio", TABLE["recording"]), "language": row.get("language", "German")}
        whole = json.dumps({name: value for name, value in members.items() if value is not None})
        body = row.get("body", whole)
        status, answer = ask(self.function, row.get("method", "POST"), headers, body and body.encode())
        return [status, json.loads(answer)]

    def forget_requests(self):
        ask(f"{self.models}/control/requests", "DELETE")

    def model_requests(self):
        return json.loads(ask(f"{self.models}/control/requests")[1])["requests"]

    def test_refuses_without_asking_the_model(self):
        self.forget_requests()
        for name, row in TABLE["refused"].items():
            with self.subTest(name):
                self.assertEqual(self.translate(row), row["answer"])
        self.assertEqual(self.model_requests(), [])

    def test_translates_with_the_model(self):
        for name, row in TABLE["translated"].items():
            with self.subTest(name):
                reply = {"ending": "reset"} if row["model"] is None else dict(zip(("status", "body"), row["model"]))
                self.forget_requests()
                ask(f"{self.models}/control/replies", "POST", body=json.dumps([{"path": COMPLETIONS, **reply}]).encode())
                self.assertEqual(self.translate(row), row["answer"])
                self.assertEqual(json.loads(ask(f"{self.models}/control/body")[1]), TABLE["asked"])
                request, = self.model_requests()
                headers = {name.lower(): value for name, value in request["headers"].items()}
                self.assertEqual(headers["authorization"], "Bearer sk-owner")
                self.assertNotIn("apikey", headers)


if __name__ == "__main__":
    if len(sys.argv) > 4 and not os.access(DENO, os.X_OK):
        print(f"SKIPPED: there is no {DENO}; scripts/deno installs it")
        sys.exit(SKIPPED)
    result = unittest.main(argv=sys.argv[:1], exit=False, verbosity=2).result
    failed = len(result.failures) + len(result.errors)
    print(f"Totals: {max(result.testsRun - failed, 0)} passed, {failed} failed, {len(result.skipped)} skipped")
    sys.exit(1 if failed or not result.testsRun else 0)
