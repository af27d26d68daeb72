"""Sends the requests of translate.json to the translate function: the mock server's, or the deployed one.

usage: test_translate.py TAVRIK-MOCK-SERVER PUBLIC-KEY [DENO FUNCTION-FOLDER]
"""

import json
import os
import pathlib
import subprocess
import sys
import tempfile
import unittest
import urllib.error
import urllib.request

sys.path.append(str(pathlib.Path(__file__).parents[1] / "desktop"))
import desk  # noqa: E402

MOCK_SERVER, PUBLIC_KEY = sys.argv[1:3]
DENO, FUNCTION = sys.argv[3:5] if len(sys.argv) > 4 else (None, None)
OWNER = {"OPENROUTER_API_KEY": "sk-owner"}
TABLE = json.loads(pathlib.Path(__file__).with_name("translate.json").read_text())
DEFAULTS = {"audio": TABLE["recording"], "language": "German"}


def ask(url, method="GET", headers={}, body=None):
    # An empty type prevents urllib's default, that of a form.
    request = urllib.request.Request(url, method=method, headers={"Content-type": "", **headers}, data=body)
    try:
        with desk.opener.open(request, timeout=60) as reply:
            return reply.status, reply.read()
    except urllib.error.HTTPError as error:
        with error:
            return error.code, error.read()


class Deno(desk.Process):
    """The deployed function, with the addresses of a project and a model service."""

    def __init__(self, project, models):
        subprocess.run([DENO, "check", "--no-lock", f"{FUNCTION}/index.ts"], check=True)
        self._entry = tempfile.NamedTemporaryFile(suffix=".ts")
        self._entry.write(f'''
            import {{ translate }} from {json.dumps(pathlib.Path(FUNCTION, "translate.ts").as_uri())};
            const onListen = ({{ port }}) => console.log(`http://127.0.0.1:${{port}}`);
            Deno.serve({{ hostname: "127.0.0.1", port: 0, onListen }}, translate);'''.encode())
        self._entry.flush()
        super().__init__(DENO, "run", "--no-lock", "--no-remote", "--allow-net=127.0.0.1", "--allow-env",
                         self._entry.name, env={"SUPABASE_URL": project, "OPENROUTER_URL": models, **OWNER})
        self.url = next(line.strip() for line in self.process.stdout if line.startswith("http"))


class Translate(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.models = cls.enterClassContext(desk.Backend(MOCK_SERVER, 0))
        project = cls.enterClassContext(desk.Backend(MOCK_SERVER, 0, "--upstream", cls.models.url, env=OWNER)).url
        cls.function = f"{project}/functions/v1/translate"
        if DENO:
            cls.function = cls.enterClassContext(Deno(project, cls.models.url)).url
        status, session = ask(f"{project}/auth/v1/signup", "POST",
                              {"apikey": PUBLIC_KEY, "Content-Type": "application/json"},
                              b'{"email": "someone@example.org", "password": "correct horse"}')
        assert status == 200, session
        cls.token = json.loads(session)["access_token"]

    def translate(self, row):
        token = PUBLIC_KEY if row.get("token") == "PUBLIC" else row.get("token", self.token)
        headers = {"apikey": PUBLIC_KEY, "Authorization": f"Bearer {token}",
                   "Content-type": row.get("type", "application/json")}
        members = {name: row.get(name, default) for name, default in DEFAULTS.items() if row.get(name, default)}
        body = row.get("body", json.dumps(members))
        status, answer = ask(self.function, row.get("method", "POST"), headers, body and body.encode())
        return [status, json.loads(answer)]

    def test_refuses_without_asking_the_model(self):
        self.models.forget()
        for name, row in TABLE["refused"].items():
            with self.subTest(name):
                self.assertEqual(self.translate(row), row["answer"])
        self.assertEqual(self.models.requests(), [])

    def test_translates_with_the_model(self):
        for name, row in TABLE["translated"].items():
            with self.subTest(name):
                reply = {"ending": "reset"} if row["model"] is None else dict(zip(("status", "body"), row["model"]))
                self.models.forget()
                self.models.script({"path": desk.CHAT, **reply})
                self.assertEqual(self.translate(row), row["answer"])
                self.assertEqual(json.loads(ask(f"{self.models.url}/control/body")[1]), TABLE["asked"])
                request, = self.models.requests()
                self.assertEqual(request["headers"]["authorization"], "Bearer sk-owner")
                self.assertNotIn("apikey", request["headers"])


if __name__ == "__main__":
    if len(sys.argv) > 4 and not os.access(DENO, os.X_OK):
        print(f"SKIPPED: there is no {DENO}; scripts/deno installs it")
        sys.exit(77)
    desk.main()
