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
SKIPPED = 77
TABLE = json.loads(pathlib.Path(__file__).with_name("translate.json").read_text())
COMPLETIONS = "/api/v1/chat/completions"


def ask(url, method="GET", headers=None, body=None):
    request = urllib.request.Request(url, method=method, headers=headers or {}, data=body)
    # Prevents urllib's default, the type of a form.
    if body is not None and not request.has_header("Content-type"):
        request.add_header("Content-type", "")
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
                self.models.script({"path": COMPLETIONS, **reply})
                self.assertEqual(self.translate(row), row["answer"])
                self.assertEqual(json.loads(ask(f"{self.models.url}/control/body")[1]), TABLE["asked"])
                request, = self.models.requests()
                headers = {name.lower(): value for name, value in request["headers"].items()}
                self.assertEqual(headers["authorization"], "Bearer sk-owner")
                self.assertNotIn("apikey", headers)


if __name__ == "__main__":
    if len(sys.argv) > 4 and not os.access(DENO, os.X_OK):
        print(f"SKIPPED: there is no {DENO}; scripts/deno installs it")
        sys.exit(SKIPPED)
    desk.main()
