"""The client's prompt in a real terminal.

    PromptTest.py BUILD [TEST ...]
"""
import os
import pathlib
import re
import signal
import subprocess
import sys
import tempfile
import time
import unittest

sys.dont_write_bytecode = True
from terminal import LIMIT_SECONDS, PAUSE_SECONDS, ROOT, ProgramFolder, Terminal  # noqa: E402

BUILD = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else ROOT / "build" / "mingw").resolve()
PROMPT = "orv>"
LOG = r"c:\zeph\logs\OrvWorkBench.log"
PROGRESS = r"^  running for \d s, log: \d+ CHost::Run Command is Invoke: System\.Threading\.Thread\.Sl"


def absolute(number):
    """A command that gives the number."""
    return f"invoke System.Math.Abs({number})"


def masked(screen):
    """Without what differs from run to run."""
    return re.sub(r"\d+\.\d{1,3} ms", "# ms", screen)


class PromptTest(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        self.folder = ProgramFolder(BUILD)
        self.addCleanup(self.folder.close)
        self.history = tempfile.NamedTemporaryFile(prefix="orv-history-", suffix=".txt")
        self.addCleanup(self.history.close)

    def run_client(self, *arguments, environment=(), **size):
        command = [ROOT / "tools" / "wine-run", self.folder.path / "OrvClient.exe", *arguments]
        terminal = Terminal(command, self.folder.path,
                            [("ORV_CLIENT_HISTORY", "Z:" + self.history.name.replace("/", "\\")), *environment], **size)
        self.addCleanup(terminal.close)
        return terminal

    def start(self, *arguments, **setup):
        """Starts the client and waits for its first prompt."""
        terminal = self.run_client(*arguments, **setup)
        terminal.wait_for_line(PROMPT)
        terminal.wait_until_keys_are_read()
        return terminal

    def enter(self, terminal, line, shown):
        """Types a line, and waits until the text has come, and the next prompt."""
        terminal.type(line)
        terminal.press("Enter")
        terminal.wait_for(shown)
        terminal.wait_for_line(PROMPT)

    def quit(self, terminal, status=0):
        terminal.type("quit")
        terminal.press("Enter")
        terminal.wait_for(f"status {status}")

    def lines_after(self, terminal, line):
        """What stands on the screen below the last such line."""
        lines = masked(terminal.screen()).split("\n")
        return lines[len(lines) - lines[::-1].index(line):]

    # The line

    def test_a_line_is_edited(self):
        terminal = self.start()
        terminal.type("gett int.MinVaXue")
        terminal.press("Left", "Left", "BSpace", "l", "Home", *["Right"] * 3, "BSpace", "End", "BSpace", "e")
        terminal.press("Home")
        terminal.wait_for_line("orv> get int.MinValue")
        self.assertEqual((5, 3), terminal.cursor())
        terminal.press("Enter")
        terminal.wait_for_line(PROMPT)
        self.assertEqual(["    | => int -2147483648", "    response success", "    message idle",
                          "    response success", "  succeeded after # ms, result 5 ActionSuccess", "orv>"],
                         self.lines_after(terminal, "orv> get int.MinValue"))
        self.quit(terminal)

    def test_wide_characters_come_through(self):
        terminal = self.start()
        terminal.type('invoke string.Copy("中é")')
        terminal.press("Left", "Left", "ü")
        terminal.press("Enter")
        terminal.wait_for('=> string "中éü"')
        self.quit(terminal)

    def test_a_long_line_wraps_and_comes_through(self):
        terminal = self.start(width=60)
        text = "0123456789" * 15
        terminal.type(f'get "{text}".Length')
        terminal.wait(lambda: terminal.screen().endswith('89".Length'), "waited for the line")
        terminal.press("Enter")
        terminal.wait_for("=> int 150")
        self.quit(terminal)

    def test_the_end_of_the_input_ends_the_client(self):
        terminal = self.start()
        terminal.type("reset")
        terminal.press("C-d", "Enter")
        terminal.wait_for("reset: forgot")
        terminal.wait_for_line(PROMPT)
        terminal.press("C-d")
        terminal.wait_for("status 0")
        self.assertIn("workbench ended with exit code 1", terminal.screen())

    def test_closing_the_terminal_ends_client_and_workbench(self):
        terminal = self.start()
        programs = self.running_programs()
        self.assertEqual(2, len(programs), programs)
        terminal.close()
        terminal.wait(lambda: not self.running_programs(), "waited for the end of both")

    def running_programs(self):
        """The programs of this test's folder."""
        found = []
        for process in pathlib.Path("/proc").glob("[0-9]*/cmdline"):
            try:
                program = process.read_bytes().decode("utf-8", "replace").split("\0")[0]
            except OSError:
                continue  # it has ended
            if re.search(rf"[/\\]{self.folder.path.name}[/\\]Orv\w+\.exe$", program):
                found.append(program)
        return found

    def test_after_a_resize_the_prompt_goes_on(self):
        terminal = self.start()
        terminal.type("invoke System.Math.")
        terminal.wait_for_line("orv> invoke System.Math.")
        terminal.resize(60, 20)
        self.enter(terminal, "Abs(5)", "=> int 5")
        terminal.resize(100, 30)
        self.enter(terminal, absolute(6), "=> int 6")
        self.quit(terminal)

    # History

    def test_the_arrows_bring_back_commands_also_those_of_earlier_sessions(self):
        first = self.start()
        self.enter(first, 'get "中".Length', "=> int 1")
        self.enter(first, "types Thermo", "public type")
        self.enter(first, absolute(2), "=> int 2")
        first.press("Up", "Up", "Up")
        first.wait_for_line('orv> get "中".Length')
        first.press("C-c")
        first.wait_for_line(PROMPT)
        self.quit(first)
        second = self.start()
        self.assertNotIn("Abs(2)", second.screen())
        second.press("Up")
        second.wait_for_line("orv> " + absolute(2))
        second.press("Up")
        second.wait_for_line('orv> get "中".Length')
        second.press("Down", "Enter")
        second.wait_for("=> int 2")
        self.quit(second)

    def test_history_lists_commands_and_no_questions(self):
        self.history.write(b"get x.Y\r\n")
        self.history.flush()
        terminal = self.start()
        self.enter(terminal, "types Thermo", "public type")
        self.enter(terminal, absolute(3), "=> int 3")
        self.enter(terminal, "history", "  get x.Y")
        self.assertEqual(["  get x.Y", "  " + absolute(3), "orv>"], self.lines_after(terminal, "orv> history"))
        self.enter(terminal, "history X.y", "  get x.Y")
        self.assertEqual(["  get x.Y", "orv>"], self.lines_after(terminal, "orv> history X.y"))
        self.quit(terminal)

    def test_a_line_of_an_earlier_session_that_is_too_long_is_only_listed(self):
        longest = "get " + 496 * "a"
        self.history.write(f"get x.First\r\n{longest}\r\nget {497 * 'b'}\r\n".encode())
        self.history.flush()
        terminal = self.start()
        terminal.press("Up")
        terminal.wait(lambda: terminal.screen().replace("\n", "").endswith("orv> " + longest), "waited for the line")
        terminal.press("Up")
        terminal.wait_for_line("orv> get x.First")
        terminal.press("C-c")
        terminal.wait_for_line(PROMPT)
        self.enter(terminal, "history bbb", "  get bbb")
        self.quit(terminal)

    def test_the_beginning_of_a_line_brings_it_back(self):
        terminal = self.start()
        self.enter(terminal, "get int.MaxValue", "=> int 2147483647")
        self.enter(terminal, absolute(3), "=> int 3")
        terminal.type("ge")
        terminal.press("F8")
        terminal.wait_for_line("orv> get int.MaxValue")
        self.quit_after_clearing(terminal)

    # Tab

    def test_tab_completes_words_files_types_members_and_instances(self):
        terminal = self.start()
        terminal.type("lo")
        terminal.press("Tab")
        terminal.wait_for_line("orv> load")
        terminal.type("OrvS")
        terminal.press("Tab")
        terminal.wait_for_line("orv> load OrvSample.dll")
        terminal.press("Enter")
        terminal.wait_for_line(PROMPT)
        terminal.type("create kitchen = OrvSample.Ther")
        terminal.press("Tab")
        terminal.wait_for_line("orv> create kitchen = OrvSample.Thermostat")
        terminal.type('("k", 21)')
        terminal.press("Enter")
        terminal.wait_for_line(PROMPT)
        terminal.type("get kit")
        terminal.press("Tab")
        terminal.wait_for_line("orv> get kitchen")
        terminal.type(".Tar")
        terminal.press("Tab")
        terminal.wait_for_line("orv> get kitchen.Target")
        terminal.press("Enter")
        terminal.wait_for("=> double 21")
        terminal.wait_for_line(PROMPT)
        terminal.type("members kitchen Rai")
        terminal.press("Tab")
        terminal.wait_for_line("orv> members kitchen Raise")
        terminal.press("Enter")
        terminal.wait_for("  double Raise(double degrees)\n")
        terminal.wait_for_line(PROMPT)
        self.quit(terminal)

    def test_tab_shows_what_fits(self):
        terminal = self.start()
        terminal.type("in")
        terminal.press("Tab")
        terminal.wait_for("list what was made")
        terminal.wait_for_line("orv> in")
        self.assertEqual(["orv> in", "  invoke TEXT  call a method", "  instances  list what was made", "orv> in"],
                         terminal.screen().split("\n")[-4:])
        self.assertEqual((7, len(terminal.screen().split("\n")) - 1), terminal.cursor())
        terminal.type("v")
        terminal.press("Tab")
        terminal.wait_for_line("orv> invoke")
        self.quit_after_clearing(terminal)

    def quit_after_clearing(self, terminal):
        terminal.press("C-c")
        terminal.wait_for_line(PROMPT)
        self.quit(terminal)

    def test_tab_inside_a_line_keeps_what_follows(self):
        terminal = self.start()
        terminal.type("invoke System.Math.Max(1, 2)")
        terminal.press(*["Left"] * 6, "BSpace")
        terminal.wait_for_line("orv> invoke System.Math.Ma(1, 2)")
        terminal.press("Tab")
        terminal.wait_for_line("orv> invoke System.Math.Max(1, 2)")
        terminal.press("Enter")
        terminal.wait_for("=> int 2")
        terminal.wait_for_line(PROMPT)
        self.quit(terminal)

    def test_tab_writes_a_line_with_a_wide_character_a_second_time(self):
        terminal = self.start()
        terminal.type('get "中".Len')
        terminal.press("Tab")
        terminal.wait_for_line('orv> get "中".Length')
        self.assertEqual('orv> get "中".Len', terminal.screen().split("\n")[-2])
        self.quit_after_clearing(terminal)

    def test_tab_where_nothing_fits_leaves_the_line(self):
        terminal = self.start()
        terminal.type("get No.Such")
        terminal.press("Tab")
        terminal.type("1")
        terminal.wait_for_line("orv> get No.Such1")
        self.assertEqual(1, terminal.screen().count("No.Such"))
        self.quit_after_clearing(terminal)

    def test_tab_changes_nothing_that_a_user_could_see(self):
        terminal = self.start()
        self.enter(terminal, absolute(7), "=> int 7")
        terminal.type("get System.Mat")
        terminal.press("Tab")
        terminal.wait_for_line("orv> get System.Math")
        terminal.press("C-c")
        terminal.wait_for_line(PROMPT)
        self.enter(terminal, "invoke $.ToString()", '=> string "7"')
        self.enter(terminal, "again", '=> string "7"')
        self.quit(terminal)

    # Ctrl-C

    def test_ctrl_c_clears_the_line(self):
        terminal = self.start()
        terminal.type(absolute(1))
        terminal.wait_for_line("orv> " + absolute(1))
        terminal.press("C-c")
        terminal.wait_for_line(PROMPT)
        self.assertIn("orv> " + absolute(1) + "\n", terminal.screen(), "to be read above")
        terminal.press("Enter")
        self.enter(terminal, absolute(2), "=> int 2")
        self.assertNotIn("=> int 1", terminal.screen())
        self.quit(terminal)

    def test_ctrl_c_twice_at_the_prompt_ends_nothing(self):
        terminal = self.start()
        for _ in range(3):
            terminal.press("C-c")
            time.sleep(0.3)
        self.enter(terminal, absolute(2), "=> int 2")
        self.quit(terminal)

    def sleeping(self, terminal, milliseconds):
        terminal.type(f"invoke System.Threading.Thread.Sleep({milliseconds})")
        terminal.press("Enter")
        terminal.wait_for("running for")

    QUESTION = "  the call goes on: w to wait for it, e to end the workbench"

    def test_ctrl_c_in_a_command_offers_to_wait(self):
        terminal = self.start()
        self.sleeping(terminal, 6000)
        terminal.press("C-c")
        terminal.wait_for_line(self.QUESTION)
        terminal.press("x", "w")
        terminal.wait_for("succeeded after")
        terminal.wait_for_line(PROMPT)
        self.assertNotIn("running", terminal.screen())
        self.enter(terminal, absolute(2), "=> int 2")
        self.quit(terminal)

    def test_ctrl_c_in_a_command_offers_to_end(self):
        terminal = self.start()
        self.sleeping(terminal, 600000)
        terminal.press("C-c")
        terminal.wait_for_line(self.QUESTION)
        terminal.press("e")
        terminal.wait_for("interrupted; the workbench was ended in the call, start begins a new one")
        terminal.wait_for_line(PROMPT)
        terminal.type("start")
        terminal.press("Enter")
        terminal.wait(lambda: terminal.screen().count("ready after") == 2, "waited for the new workbench")
        self.enter(terminal, absolute(2), "=> int 2")
        self.quit(terminal, 5)

    def test_a_second_ctrl_c_in_a_command_ends_it(self):
        terminal = self.start()
        self.sleeping(terminal, 600000)
        terminal.press("C-c")
        terminal.wait_for_line(self.QUESTION)
        terminal.press("C-c")
        terminal.wait_for("interrupted; the workbench was ended")
        terminal.wait_for_line(PROMPT)
        self.quit(terminal, 5)

    def test_a_command_may_end_while_the_user_is_asked(self):
        terminal = self.start()
        self.sleeping(terminal, 4000)
        terminal.press("C-c")
        terminal.wait_for_line(self.QUESTION)
        terminal.wait_for("succeeded after")
        terminal.wait_for_line(PROMPT)
        self.assertNotIn("the call goes on", terminal.screen())
        self.quit(terminal)

    # Attached to the workbench of another client

    def attach(self, other):
        return self.start("--attach", self.workbench(other))

    def test_an_attached_session_completes_words_and_files_alone(self):
        owner = self.start()
        attached = self.attach(owner)
        attached.type("lo")
        attached.press("Tab")
        attached.wait_for_line("orv> load")
        attached.type("OrvS")
        attached.press("Tab")
        attached.wait_for_line("orv> load OrvSample.dll")
        attached.press("C-c")
        attached.wait_for_line(PROMPT)
        attached.type("get System.Mat")
        attached.press("Tab")
        attached.type("h")
        attached.wait_for_line("orv> get System.Math")
        self.assertNotIn("message idle", owner.screen())
        self.quit_after_clearing(attached)

    def test_an_attached_session_is_told_what_a_command_gave(self):
        owner = self.start()
        attached = self.attach(owner)
        self.enter(attached, "show int.MaxValue", "    int.MaxValue = int 2147483647")
        self.enter(attached, absolute(5), "    => int 5")
        self.assertIn("    int.MaxValue = int 2147483647", self.lines_after(attached, "orv> " + absolute(5)))
        self.quit(attached)
        self.enter(owner, absolute(6), "=> int 6")
        self.quit(owner)

    def test_ctrl_c_in_a_command_leaves_an_attached_workbench(self):
        owner = self.start()
        attached = self.attach(owner)
        self.sleeping(attached, 5000)
        attached.press("C-c")
        attached.wait_for_line(self.QUESTION)
        attached.press("e")
        attached.wait_for("interrupted; the call goes on in the workbench, which is left as it is")
        attached.wait_for("workbench left running")
        attached.wait_for_line(PROMPT)
        owner.wait_for("message idle")
        # The call's responses are nobody's.
        self.enter(owner, absolute(6), "=> int 6")
        self.quit(owner, 6)

    # While something goes on

    def workbench(self, terminal):
        """Its process id."""
        return re.search(r"workbench (\d+) started", terminal.screen()).group(1)

    def test_a_long_command_shows_the_time_and_the_log(self):
        terminal = self.start()
        self.sleeping(terminal, 4000)
        self.assertRegex(terminal.screen().split("\n")[-1], PROGRESS)
        terminal.wait_for("succeeded after")
        terminal.wait_for_line(PROMPT)
        self.assertNotIn("running for", terminal.screen())
        self.quit(terminal)

    def hold(self, terminal, where):
        """A debugger that attaches, and holds the call or the step behind it."""
        port = re.search(r"127\.0\.0\.1 port (\d+)", terminal.screen()).group(1)
        debugger = subprocess.Popen(["mono", BUILD / "tests" / "debugger" / "DebuggerTest.exe", where, port],
                                    stdout=subprocess.PIPE, text=True,
                                    env={**os.environ, "ORV_BUILD": str(BUILD), "ORV_ROOT": str(ROOT)})
        self.addCleanup(debugger.stdout.close)
        self.addCleanup(debugger.wait)
        self.addCleanup(debugger.kill)
        self.assertEqual("attached\n", debugger.stdout.readline())
        return debugger

    def held(self, where, told):
        self.held_in(self.start("--debug"), where, told)

    def held_in(self, terminal, where, told):
        library = str(BUILD / "tests" / "debugger" / "Debuggee.dll").replace("/", "\\")
        self.enter(terminal, f"load Z:{library}", "result 6")
        self.enter(terminal, 'create account = Debuggee.Account("Ada")', "result 8")
        debugger = self.hold(terminal, where)
        terminal.type('invoke account.Pay(7, "tea")')
        terminal.press("Enter")
        self.assertEqual("stopped\n", debugger.stdout.readline())
        terminal.wait_for(f"  held by a debugger {told} for ")
        debugger.kill()
        terminal.wait_for("=> int 18")
        terminal.wait_for("result 10")
        terminal.wait_for_line(PROMPT)
        self.assertNotIn("held by", terminal.screen())
        self.quit(terminal)

    @unittest.skipUnless((BUILD / "tests" / "debugger" / "DebuggerTest.exe").exists(), "no debugger's library")
    def test_a_call_that_a_debugger_holds_is_told(self):
        self.held("--hold", "in the call")

    @unittest.skipUnless((BUILD / "tests" / "debugger" / "DebuggerTest.exe").exists(), "no debugger's library")
    def test_a_step_that_a_debugger_holds_is_told(self):
        self.held("--hold-behind", "in OrvBreakPoint, behind the call,")

    def test_a_long_command_without_a_prompt_shows_the_time_too(self):
        terminal = self.run_client("invoke System.Threading.Thread.Sleep(3000)")
        terminal.wait_for("  running for ")
        terminal.wait_for("status 0")
        self.assertNotIn("running for", terminal.screen())

    def test_a_log_that_cannot_be_read_is_heard(self):
        keeper = subprocess.Popen([ROOT / "tools" / "wine-run", BUILD / "tests" / "OrvConsoleProbe.exe", LOG],
                                  stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        self.addCleanup(keeper.communicate)
        self.assertEqual(b"kept", keeper.stdout.readline().strip())
        terminal = self.start()
        self.sleeping(terminal, 4000)
        self.assertRegex(terminal.screen().split("\n")[-1], PROGRESS)
        terminal.wait_for("succeeded after")
        terminal.wait_for_line(PROMPT)
        self.quit(terminal)

    def test_what_another_client_does_comes_above_the_line(self):
        terminal = self.start()
        number = self.workbench(terminal)
        terminal.type("get 1")
        terminal.wait_for_line("orv> get 1")
        subprocess.run([ROOT / "tools" / "wine-run", self.folder.path / "OrvClient.exe", "--attach", number, absolute(5)],
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=True)
        terminal.wait_for("    | => int 5")
        terminal.wait_for("    message idle")
        terminal.wait_for_line("orv> get 1")
        self.quit_after_clearing(terminal)

    @unittest.skipUnless((BUILD / "tests" / "debugger" / "DebuggerTest.exe").exists(), "no debugger's library")
    def test_an_attached_client_tells_that_a_debugger_holds_the_call(self):
        owner = self.start("--debug")
        self.held_in(self.start("--debug", "--attach", self.workbench(owner)), "--hold", "in the call")

    @unittest.skipUnless((BUILD / "tests" / "debugger" / "DebuggerTest.exe").exists(), "no debugger's library")
    def test_an_attached_client_tells_that_a_debugger_holds_the_step(self):
        owner = self.start("--debug")
        self.held_in(self.start("--debug", "--attach", self.workbench(owner)), "--hold-behind",
                     "in OrvBreakPoint, behind the call,")

    def test_output_comes_beside_the_line_that_is_typed(self):
        terminal = self.start()
        self.enter(terminal, "create t = System.Timers.Timer(1500.0)", "t = System.Timers.Timer")
        self.enter(terminal, "set t.AutoReset = false", "result 5")
        self.enter(terminal, "set t.Elapsed += watch", "result 5")
        self.enter(terminal, "invoke t.Start()", "=> void")
        terminal.type(absolute(12))
        terminal.press("Left", "Left")
        terminal.wait(lambda: "ElapsedEventArgs" in terminal.screen(), "waited for the event")
        terminal.wait_for_line("orv> " + absolute(12))
        terminal.type("0")
        terminal.press("Enter")
        terminal.wait_for("=> int 102")
        self.quit(terminal)

    def test_the_loss_of_the_workbench_is_told_at_once(self):
        terminal = self.start()
        number = self.workbench(terminal)
        terminal.type("get 1")
        terminal.wait_for_line("orv> get 1")
        subprocess.run([ROOT / "tools" / "wine-run", "taskkill", "/f", "/pid", number], stdout=subprocess.DEVNULL,
                       stderr=subprocess.DEVNULL, check=True)
        terminal.wait_for("OrvClient: the workbench ended unasked")
        terminal.wait_for_line("orv> get 1")
        terminal.press("C-c")
        terminal.wait_for_line(PROMPT)
        terminal.type("start")
        terminal.press("Enter")
        terminal.wait(lambda: "ready after" in terminal.screen().split("unasked")[1], "waited for the new workbench")
        self.quit(terminal, 3)

    def test_values_are_shown_after_each_command(self):
        terminal = self.start()
        self.enter(terminal, "load OrvSample.dll", "loaded OrvSample")
        self.enter(terminal, 'create t = OrvSample.Thermostat("kitchen", 21)', "t = OrvSample")
        self.enter(terminal, "show t.Target", "t.Target = ")
        self.enter(terminal, "set t.Target = 23.5", "result 5")
        self.assertEqual("    t.Target = 23.5", self.lines_after(terminal, "orv> set t.Target = 23.5")[-2])
        self.enter(terminal, "hide t.Target", "orv> hide")
        self.enter(terminal, "set t.Target = 20", "double 20")
        self.assertIn("succeeded", self.lines_after(terminal, "orv> set t.Target = 20")[-2])
        self.quit(terminal)

    # Colour

    def test_a_console_is_coloured(self):
        terminal = self.start()
        self.enter(terminal, absolute(1), "=> int 1")
        self.assertIn("\x1b[32m  succeeded after", terminal.screen(colours=True))
        self.quit(terminal)

    def test_no_color_is_honoured(self):
        terminal = self.start(environment=[("NO_COLOR", "1")])
        self.enter(terminal, absolute(1), "=> int 1")
        self.assertNotIn("\x1b", terminal.screen(colours=True))
        self.quit(terminal)

    def test_an_empty_no_color_asks_for_nothing(self):
        terminal = self.start(environment=[("NO_COLOR", "")])
        self.enter(terminal, absolute(1), "=> int 1")
        self.assertIn("\x1b[32m  succeeded after", terminal.screen(colours=True))
        self.quit(terminal)

    def test_color_never_is_honoured(self):
        terminal = self.start("--color", "never")
        self.enter(terminal, absolute(1), "=> int 1")
        self.assertNotIn("\x1b", terminal.screen(colours=True))
        self.quit(terminal)


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], *sys.argv[2:]])
