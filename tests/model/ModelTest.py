"""The model of the protocol, explored to its end by spin; and with each fault built in, which must be found.

    ModelTest.py BUILD CASE

CASE is "holds", "ends", "survives" (the client's death) or the name of a fault in protocol.pml. The exploration stands in
BUILD/tests/model.
"""
import pathlib
import re
import subprocess
import sys

MODEL = pathlib.Path(__file__).resolve().with_name("protocol.pml")
# Of the states; a bound that is met is told, and fails the test.
DEPTH = "-m100000"
SAFETY = ["-DSAFETY", "-DNOCLAIM"]
# Millions of states are worth the compiler's time; a fault is found in a moment.
FAST = ["-O2"]


def explore(folder, defines, compiler, options):
    """Explores the model with these definitions; returns what spin's verifier says."""
    folder.mkdir(parents=True, exist_ok=True)

    def run(*command):
        done = subprocess.run(command, cwd=folder, capture_output=True, text=True, check=False)
        if done.returncode != 0:
            sys.exit(f"{command[0]} ended with {done.returncode}:\n{done.stdout}{done.stderr}")
        return done.stdout

    run("spin", "-a", *(f"-D{define}" for define in defines), str(MODEL))
    run("gcc", "-w", "-DMEMLIM=8000", *compiler, "-o", "verifier", "pan.c")
    return run("./verifier", DEPTH, "-w24", *options)


def check(text, must_fail):
    """The exploration was complete and found nothing, or found something."""
    errors = int(re.search(r"errors: (\d+)", text).group(1))
    cut = re.search(r"max search depth too small|Search not completed|out of memory", text)
    if must_fail:
        return None if errors else "the fault is not found"
    if errors:
        return "an error is found"
    return "the exploration was not complete" if cut else None


def main():
    folder, case = pathlib.Path(sys.argv[1]) / "tests" / "model" / sys.argv[2], sys.argv[2]
    if case == "holds":
        text = explore(folder, ["COMMANDS=4"], SAFETY + FAST, [])
    elif case == "survives":
        text = explore(folder, ["COMMANDS=2", "CLIENT_DIES"], SAFETY + FAST, [])
    elif case == "loses_two":
        text = explore(folder, ["COMMANDS=2", "LOSSES=2"], SAFETY, [])
    elif case == "ends":
        text = explore(folder, ["COMMANDS=2"], [], ["-a", "-f"])
    else:
        dies = ["CLIENT_DIES"] if case == "F_NO_JOB" else []
        text = explore(folder, ["COMMANDS=3", f"FAULT={case}", *dies], SAFETY, [])
    failure = check(text, case.startswith("F_"))
    print("\n".join(line for line in text.split("\n") if re.search(r"pan:1|errors:|states, stored", line)))
    if failure:
        sys.exit(failure)


if __name__ == "__main__":
    main()
