"""The hosted project's daily limit, in a PostgreSQL of the test's own.

usage: pg_virtualenv test_daily_limit.py MIGRATIONS-FOLDER
"""

import json
import pathlib
import subprocess
import sys
import unittest

sys.path.append(str(pathlib.Path(__file__).parents[1] / "desktop"))
import desk  # noqa: E402

MIGRATIONS = sorted(pathlib.Path(sys.argv[1]).glob("*.sql"))
PARAMETERS = json.loads(pathlib.Path(__file__).with_name("translate.json").read_text())["counted"]
SOMEBODY, ANOTHER = "00000000-0000-0000-0000-000000000001", "00000000-0000-0000-0000-000000000002"
# What a project has before its first migration: whatever is made in `public` belongs to everybody.
PROJECT = f"""
    create role anon; create role authenticated; create role service_role bypassrls;
    alter default privileges in schema public grant all on tables to anon, authenticated, service_role;
    alter default privileges in schema public grant all on functions to anon, authenticated, service_role;
    create schema auth; create table auth.users (id uuid primary key);
    create schema storage; create table storage.buckets (id text primary key, name text, public boolean);
    insert into auth.users values ('{SOMEBODY}'), ('{ANOTHER}');"""


def count(speaker, seconds):
    values = zip(PARAMETERS, (f"'{speaker}'", seconds, 60))
    return f"select count_speech({', '.join(f'{name} => {value}' for name, value in values)});"


def psql(role, *arguments):
    return ["psql", "-XqAt", "-v", "ON_ERROR_STOP=1", "-c", f"set role {role}", *arguments]


def run_as(role, *commands):
    return subprocess.run(psql(role, *(f"-c{command}" for command in commands)), text=True, capture_output=True)


class DailyLimit(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        for script in (PROJECT, *(migration.read_text() for migration in MIGRATIONS)):
            subprocess.run(psql("none", "-f", "-"), input=script, text=True, check=True)

    def counts(self, *rows):
        for speaker, seconds, expected in rows:
            self.assertEqual(run_as("service_role", count(speaker, seconds)).stdout, f"{expected}\n")

    def setUp(self):
        run_as("none", "truncate public.speech").check_returncode()

    def test_counts_up_to_the_limit_of_a_day(self):
        self.counts((SOMEBODY, 61, "f"), (SOMEBODY, 30, "t"), (SOMEBODY, 31, "f"), (SOMEBODY, 30, "t"), (SOMEBODY, 0.1, "f"),
                    (ANOTHER, -1, "f"), (ANOTHER, 60, "t"))
        run_as("service_role", "update public.speech set day = day - 1").check_returncode()
        self.counts((SOMEBODY, 59, "t"), (SOMEBODY, 1, "t"), (SOMEBODY, 1, "f"))

    def test_two_at_the_same_time(self):
        for before in ((), ((SOMEBODY, 10, "t"),)):
            self.setUp()
            self.counts(*before)
            with subprocess.Popen(psql("service_role", "-f", "-"), text=True, stdin=subprocess.PIPE,
                                  stdout=subprocess.PIPE) as first:
                first.stdin.write(f"begin; {count(SOMEBODY, 40)}\n")
                first.stdin.flush()
                self.assertEqual(first.stdout.readline(), "t\n")
                with subprocess.Popen(psql("service_role", "-c", count(SOMEBODY, 40)), text=True,
                                      stdout=subprocess.PIPE) as second:
                    desk.wait_for("the second to wait", lambda: run_as(
                        "none", "select 1 from pg_stat_activity where wait_event_type = 'Lock'").stdout)
                    first.communicate("commit;\n")
                    self.assertEqual(second.stdout.read(), "f\n")

    def test_users_can_neither_count_nor_see_nor_change(self):
        self.counts((SOMEBODY, 60, "t"))
        for role in ("anon", "authenticated"):
            for what, command in (("function", count(SOMEBODY, 1)), ("table", "select from public.speech")):
                self.assertIn(f"permission denied for {what}", run_as(role, command).stderr)
            # Nor once somebody grants them all there is.
            run_as("none", f"grant all on public.speech to {role}").check_returncode()
            self.assertEqual(run_as(role, "update public.speech set seconds = 0 returning true").stdout, "")


desk.main()
