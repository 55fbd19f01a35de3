"""Writes the pages that PageTest.py looks at, of real sessions, with what the client printed about each as JSON.

    pages.py BUILD FOLDER

ORV_PAGE_COMMANDS is the number of commands of the great one.
"""
import os
import pathlib
import shutil
import subprocess
import sys

sys.dont_write_bytecode = True
ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.append(str(ROOT / "tests" / "terminal"))
from terminal import ProgramFolder  # noqa: E402

BUILD, FOLDER = (pathlib.Path(word).resolve() for word in sys.argv[1:3])
LIMIT_SECONDS = 120
BEGIN = ["load OrvSample.dll", 'create t = OrvSample.Thermostat("kitchen", 21)']
# What called code may print, to a page that is read by people.
HOSTILE = ["</script><script>document.title = 'taken'</script>", "<img src=x onerror=\"document.title = 'taken'\">",
           "--><!--", "\\u2028\\u2029 \\u202Edrawkcab\\u202C", "\\u0000\\u0001\\u001B[31m", "]]>&amp;&#60;b>"]


def great():
    count = int(os.environ.get("ORV_PAGE_COMMANDS", "1000"))
    yield from BEGIN
    for i in range(count - len(BEGIN)):
        yield "invoke t.NoSuchMethod()" if i % 311 == 7 else f"set t.Target = {10 + i % 15}" if i % 3 else "get t.Target"


SESSIONS = {
    "session": (BEGIN + ["show t.Target", "get t.Target", "set t.Target = 22.5", "invoke t.Overheat()",
                         "invoke System.Threading.Thread.Sleep(300)", "invoke t.NoSuchMethod()", "time 5 get t.Target",
                         "members OrvSample.Thermostat Target", "delete t", "stop"], [], 7),
    "hostile": (BEGIN[:1] + [f'invoke System.Console.WriteLine("{text}")'.replace('="', '=\\"').replace("'\"", "'\\\"")
                             for text in HOSTILE], [], 0),
    "great": (list(great()), [], 1),
    "timeout": (BEGIN + ["invoke System.Threading.Thread.Sleep(60000)"], ["--timeout", "1", "--no-evidence"], 4),
    "lost": (BEGIN + ["invoke System.Environment.Exit(7)"], ["--evidence", "what is left"], 3),
    "empty": ([], [], 0),
}


def client(folder, arguments, script=""):
    done = subprocess.run([ROOT / "tools" / "wine-run", folder / "OrvClient.exe", *arguments], cwd=folder, input=script,
                          stdout=subprocess.PIPE, stderr=subprocess.PIPE, encoding="utf-8", timeout=LIMIT_SECONDS,
                          check=False)
    return done.returncode, done.stdout


def main():
    programs = ProgramFolder(BUILD)
    try:
        shutil.rmtree(FOLDER, ignore_errors=True)
        FOLDER.mkdir(parents=True)
        for name, (lines, options, expected) in SESSIONS.items():
            status, output = client(programs.path, ["-k", "--json", "--report", f"{name}.html", *options, "--script", "-"],
                                    "\n".join(lines))
            if status != expected:
                raise SystemExit(f"{name}: status {status} instead of {expected}\n{output}")
            (FOLDER / f"{name}.json").write_text(output, encoding="utf-8")
            if name == "session":
                # Of the session before the log is begun anew.
                status, output = client(programs.path, ["--report-from", r"c:\zeph\logs\OrvWorkBench.log"])
                if status != 0:
                    raise SystemExit(f"log: status {status}\n{output}")
        for page in programs.path.glob("*.html"):
            shutil.copy(page, FOLDER)
        # Beside the page, as it was beside the one that was written.
        shutil.copytree(programs.path / "what is left", FOLDER / "what is left")
    finally:
        programs.close()


main()
