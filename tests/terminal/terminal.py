"""A program in a real terminal: keys go in, the screen is looked at."""
import os
import pathlib
import shutil
import subprocess
import tempfile
import termios
import time

ROOT = pathlib.Path(__file__).resolve().parents[2]
# Wine may take long to begin when other tests run beside.
LIMIT_SECONDS = 60
PAUSE_SECONDS = 0.05


class Terminal:
    """A tmux of its own with one program in it, which is started in the named folder; ended by close."""

    def __init__(self, command, folder, environment=(), width=100, height=30):
        self._socket = tempfile.mkdtemp(prefix="orv-terminal-")
        words = ["env", *(f"{name}={value}" for name, value in environment), *command]
        line = " ".join("'" + str(word).replace("'", "'\\''") + "'" for word in words)
        self._tmux("-f", "/dev/null", "new-session", "-d", "-x", str(width), "-y", str(height), "-c", str(folder),
                   f"{line}; echo \"status $?\"; exec sleep 1000")

    def _tmux(self, *arguments):
        environment = dict(os.environ, LC_ALL="C.UTF-8", TERM="xterm-256color")
        environment.pop("TMUX", None)
        done = subprocess.run(["tmux", "-S", f"{self._socket}/socket", *arguments], env=environment,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, encoding="utf-8")
        if done.returncode != 0:
            raise RuntimeError(f"tmux {arguments}: {done.stdout}")
        return done.stdout

    def close(self):
        try:
            self._tmux("kill-server")
        except RuntimeError:
            pass  # it has ended
        shutil.rmtree(self._socket, ignore_errors=True)

    def screen(self, colours=False):
        """What stands on the screen, without blanks at the ends of lines and empty lines at the end."""
        text = self._tmux("capture-pane", "-p", *(["-e"] if colours else []))
        return "\n".join(line.rstrip() for line in text.split("\n")).rstrip("\n")

    def cursor(self):
        """Column and row, from 0."""
        return tuple(int(n) for n in self._tmux("display-message", "-p", "#{cursor_x} #{cursor_y}").split())

    def type(self, text):
        self._tmux("send-keys", "-l", text)

    # As xterm sends them, which Wine knows.
    SEQUENCES = {"Home": "\x1b[H", "End": "\x1b[F", "Delete": "\x1b[3~"}

    def press(self, *keys):
        """By tmux's names: Enter, Tab, BSpace, Left, C-c."""
        for key in keys:
            sequence = self.SEQUENCES.get(key)
            self._tmux("send-keys", *(["-l", sequence] if sequence else [key]))

    def resize(self, width, height):
        self._tmux("resize-window", "-x", str(width), "-y", str(height))

    def wait(self, holds, what):
        end = time.monotonic() + LIMIT_SECONDS
        while not holds():
            if time.monotonic() > end:
                raise AssertionError(f"{what}: the screen is\n{self.screen()}")
            time.sleep(PAUSE_SECONDS)

    def wait_for(self, text):
        """Until the text stands on the screen."""
        self.wait(lambda: text in self.screen(), f"waited for {text!r}")

    def wait_until_keys_are_read(self):
        """Wine takes the terminal over when the program first reads from it, which can be after its first prompt. What is
        typed before goes through the kernel's own line editing, and an Enter is none any more."""
        terminal = self._tmux("display-message", "-p", "#{pane_tty}").strip()
        with open(terminal, encoding="ascii") as file:
            self.wait(lambda: not termios.tcgetattr(file)[3] & termios.ICANON, "waited for the first read")

    def wait_for_line(self, line):
        """Until that is the last line."""
        self.wait(lambda: self.screen().split("\n")[-1] == line, f"waited for the last line {line!r}")


class ProgramFolder:
    """What a user has in one folder; goes with close."""

    FILES = ("bin/OrvClient.exe", "bin/OrvWorkBench64.exe", "bin/OrvWorkBench64.exe.config", "bin/OrvWorkBench64.dll",
             "bin/OrvSample.dll", "bridge/mscoree.dll")

    def __init__(self, build):
        self.path = pathlib.Path(tempfile.mkdtemp(prefix="orv-terminal-"))
        for file in self.FILES:
            if (build / file).exists():
                shutil.copy(build / file, self.path)

    def close(self):
        shutil.rmtree(self.path, ignore_errors=True)
