"""Sends the requests of translate.json to the translate function: the mock server's, or the deployed one. And what else
the mock server answers.

usage: test_translate.py TAVRIK-MOCK-SERVER PUBLIC-KEY [DENO FUNCTION-FOLDER]
"""

import base64
import http.client
import json
import os
import pathlib
import struct
import subprocess
import sys
import tempfile
import unittest
import urllib.error
import urllib.parse
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
    request = urllib.request.Request(url, method=method, headers={"Content-Type": "", **headers}, data=body)
    try:
        with desk.opener.open(request, timeout=60) as reply:
            return [reply.status, json.load(reply)]
    except urllib.error.HTTPError as error:
        with error:
            return [error.code, json.load(error)]


def silence(seconds, rate):
    size = int(seconds * rate) * 2
    return base64.b64encode(struct.pack("<4sI8sIHHIIHH4sI", b"RIFF", 36 + size, b"WAVEfmt ", 16, 1, 1, rate, rate * 2,
                                        2, 16, b"data", size) + bytes(size)).decode()


class Deno(desk.Process):
    """The deployed function, with the addresses of a project and a model service."""

    def __init__(self, project, models, **settings):
        self._entry = tempfile.NamedTemporaryFile(suffix=".ts")
        self._entry.write(f'''
            import {{ translate }} from {json.dumps(pathlib.Path(FUNCTION, "translate.ts").as_uri())};
            const onListen = ({{ port }}) => console.log(`http://127.0.0.1:${{port}}`);
            Deno.serve({{ hostname: "127.0.0.1", port: 0, onListen }}, translate);'''.encode())
        self._entry.flush()
        super().__init__(DENO, "run", "--no-lock", "--no-remote", "--allow-net=127.0.0.1", "--allow-env",
                         self._entry.name,
                         env={"SUPABASE_URL": project, "OPENROUTER_URL": models, **OWNER, **settings})
        self.url = next(line.strip() for line in self.process.stdout if line.startswith("http"))


class Suite(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.models = cls.enterClassContext(desk.Backend(MOCK_SERVER, 0))
        cls.project = cls.enterClassContext(desk.Backend(MOCK_SERVER, 0, "--upstream", cls.models.url, env=OWNER))
        cls.function = f"{cls.project.url}/functions/v1/translate"
        if DENO:
            cls.function = cls.enterClassContext(Deno(cls.project.url, cls.models.url)).url
        _, cls.session = ask(f"{cls.project.url}/auth/v1/signup", "POST", {"apikey": PUBLIC_KEY, **desk.JSON},
                             b'{"email": "someone@example.org", "password": "correct horse"}')

    def setUp(self):
        self.models.forget()
        self.project.forget()

    def headers(self, row={}):
        token = PUBLIC_KEY if row.get("token") == "PUBLIC" else row.get("token", self.session["access_token"])
        return {"apikey": PUBLIC_KEY, "Authorization": f"Bearer {token}", **desk.JSON, **row.get("headers", {})}

    def translate(self, row):
        if "silence" in row:
            row = {**row, "audio": silence(*row["silence"])}
        members = {name: row.get(name, default) for name, default in DEFAULTS.items() if row.get(name, default)}
        body = row.get("body", json.dumps(members))
        return ask(self.function, row.get("method", "POST"), self.headers(row), body and body.encode())

    def asked(self, service):
        """The body of what a service was asked last."""
        return ask(f"{service.url}/control/body")[1]


class Translate(Suite):
    def test_refuses_without_asking(self):
        for group, asked in (("turned away", lambda: self.project.requests("/auth/v1/user")),
                             ("refused", self.models.requests)):
            for name, row in TABLE[group].items():
                with self.subTest(name):
                    self.assertEqual(self.translate(row), row["answer"])
            self.assertEqual(asked(), [])

    def test_translates_with_the_model(self):
        for name, row in TABLE["translated"].items():
            with self.subTest(name):
                reply = {"ending": "reset"} if row["model"] is None else dict(zip(("status", "body"), row["model"]))
                self.models.forget()
                self.models.script({"path": desk.CHAT, **reply})
                self.assertEqual(self.translate(row), row.get("answer", TABLE["unavailable"]))
                request, = self.models.requests()
                self.assertEqual(request["headers"]["authorization"], "Bearer sk-owner")
                self.assertNotIn("apikey", request["headers"])
                asked = self.asked(self.models)
                if "silence" in row:
                    self.assertEqual(asked["max_tokens"], row["max_tokens"])
                else:
                    expected = json.dumps(TABLE["asked"]).replace("German", row.get("language", "German"))
                    self.assertEqual(asked, json.loads(expected))


class MockServer(Suite):
    """What else it answers, as documented for the hosted project."""

    def test_strangers(self):
        uncontrolled = self.enterContext(desk.Process(MOCK_SERVER, "--port", "0")).process.stdout.readline().strip()
        for status, server, path, header in (
                (421, self.project.url, "auth/v1/user", {"Host": "mock-server.example"}),
                (401, self.project.url, "auth/v1/signup", {"apikey": "eyJ"}),
                # What a browser lets any web page send.
                (415, self.project.url, "control/replies", {"Content-Type": "text/plain"}),
                (404, uncontrolled, "control/replies", {})):
            self.assertEqual(ask(f"{server}/{path}", "POST", self.headers({"headers": header}), b"[]")[0], status)

    def test_accounts(self):
        def post(path, **body):
            return ask(f"{server.url}/auth/v1/{path}", "POST", self.headers(), json.dumps(body).encode())

        def user(token):
            return ask(f"{server.url}/auth/v1/user", headers=self.headers({"token": token}))

        folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()), "deep/data")
        server = self.enterContext(desk.Backend(MOCK_SERVER, 0, "--data", folder))
        account = {"email": "e@example.org", "password": "correct horse"}
        _, session = post("signup", **account)
        refresh = {"refresh_token": session["refresh_token"]}
        _, session = post("token?grant_type=refresh_token", **refresh)
        self.assertEqual(user(session["access_token"]), [200, session["user"]])
        for (status, answer), expected, code in (
                (post("signup", **account), 422, "user_already_exists"),
                (post("signup", email="f@example.org", password="short"), 422, "weak_password"),
                (post("signup", email="nobody", password="correct horse"), 400, "validation_failed"),
                (post("token?grant_type=password", **account | {"password": "wrong horse"}), 400, "invalid_credentials"),
                (post("token?grant_type=refresh_token", **refresh), 400, "refresh_token_not_found"),
                (user(session["access_token"] + "A"), 403, "bad_jwt")):
            self.assertEqual((status, answer["code"], answer["error_code"]), (expected, expected, code))
            self.assertTrue(answer["msg"])

        # Kept without their secrets, and only for the user.
        stored = folder / "accounts.json"
        self.assertEqual([path.stat().st_mode & 0o777 for path in (folder, stored)], [0o700, 0o600])
        for secret in account["password"], session["refresh_token"]:
            self.assertNotIn(secret, stored.read_text())
        server.stop()
        server = self.enterContext(desk.Backend(MOCK_SERVER, 0, "--data", folder))
        self.assertEqual(post("token?grant_type=password", **account)[1]["user"], session["user"])


class Deployed(Suite):
    """What the mock server's function lacks."""

    def test_reads_no_more_than_the_longest_recording(self):
        size = 26_000_000
        for header, value, sent in (("Content-Length", "100000000", b""),
                                    ("Transfer-Encoding", "chunked", b"%x\r\n" % size + b" " * size)):
            with self.subTest(header):
                connection = http.client.HTTPConnection(urllib.parse.urlparse(self.function).netloc, timeout=20)
                self.addCleanup(connection.close)
                connection.putrequest("POST", "/")
                for name, content in {**self.headers(), header: value}.items():
                    connection.putheader(name, content)
                connection.endheaders()
                connection.send(sent)
                answer = connection.getresponse()
                self.assertEqual([answer.status, json.load(answer)], TABLE["too long"])

    def test_the_owners_settings(self):
        self.function = self.enterContext(Deno(
            self.project.url, self.models.url, OPENROUTER_DATA_COLLECTION="allow", DAILY_LIMIT_SECONDS="60",
            SUPABASE_SECRET_KEYS='{"default": "sb_secret"}')).url
        self.models.script({"body": {"choices": [{"message": {"content": "Hallo"}}]}})
        for name, row in TABLE["limited"].items():
            with self.subTest(name):
                self.project.script(row["project"])
                self.assertEqual(self.translate({}), row.get("answer", TABLE["unavailable"]))
                self.assertEqual(self.project.requests()[-1]["path"], row["project"]["path"])
        self.assertEqual(len(self.models.requests()), 1)
        self.assertEqual(self.asked(self.models)["provider"], {"data_collection": "allow"})

        self.project.script({"path": "/rest/v1/rpc/count_speech", "body": False})
        self.translate({})
        request = self.project.requests()[-1]
        self.assertEqual((request["headers"]["apikey"], request["headers"]["authorization"]),
                         ("sb_secret", "Bearer sb_secret"))
        self.assertEqual(self.asked(self.project),
                         dict(zip(TABLE["counted"], (self.session["user"]["id"], 0.0005, 60))))


if __name__ == "__main__":
    if DENO and not os.access(DENO, os.X_OK):
        print(f"SKIPPED: there is no {DENO}; scripts/deno installs it")
        sys.exit(77)
    if DENO:
        subprocess.run([DENO, "check", "--no-lock", f"{FUNCTION}/index.ts"], check=True)
    desk.main("Translate", "Deployed" if DENO else "MockServer")
