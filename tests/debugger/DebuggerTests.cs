using System;
using System.Collections.Generic;
using System.IO;
using System.Threading;
using Mono.Debugger.Soft;
using Mirror = Mono.Debugger.Soft.Value;
using Process = System.Diagnostics.Process;
using ProcessStartInfo = System.Diagnostics.ProcessStartInfo;

namespace OrvTest
{
    // What a debugger can do with a session. The debugger is the library behind Mono's; the workbench runs under Wine.
    internal static class DebuggerTests
    {
        private static readonly string s_source = Path.Combine(DebuggedSession.Root, "tests/debugger/Debuggee.cs");

        private static DebuggedSession Start()
        {
            return new DebuggedSession("--debug");
        }

        private static DebuggedSession WithAccount()
        {
            DebuggedSession session = Start();
            session.Do("load Debuggee.dll");
            session.Do("create account = Debuggee.Account(\"Ada\")");
            return session;
        }

        // Goes on from a stop in the breakpoint step, and waits for the command's end.
        private static void Finish(DebuggedSession session, AttachedDebugger debugger)
        {
            debugger.Vm.Resume();
            session.WaitFor("  succeeded after", 1);
        }

        // Gives a command that stops in the breakpoint step only, and ends it. Returns what stands in the frame's
        // variables; of the instances their number.
        private static Dictionary<string, object> StopAfter(DebuggedSession session, AttachedDebugger debugger, string command)
        {
            session.Type(command);
            UserBreakEvent stop = debugger.Next<UserBreakEvent>();
            StackFrame frame = stop.Thread.GetFrames()[0];
            Harness.Equal("OrvBreakPoint", frame.Method.Name, command + ": the frame");
            Dictionary<string, object> names = new Dictionary<string, object>();
            foreach (string name in new string[] { "command", "outcome", "target", "result", "exception" })
                names[name] = AttachedDebugger.Local(frame, name);
            ObjectMirror instances = (ObjectMirror)frame.GetValue(frame.GetVisibleVariableByName("instances"));
            names["instances"] = AttachedDebugger.Plain(instances.InvokeMethod(stop.Thread, instances.Type.GetMethod("get_Count"), new Mirror[0]));
            debugger.Vm.Resume();
            return names;
        }

        private static void Holds(Dictionary<string, object> names, string command, string outcome, object target, object result,
                                  object exception, int instances)
        {
            Harness.Equal(command, names["command"], "command");
            Harness.Equal(outcome, names["outcome"], command + ": outcome");
            Harness.Equal(target, names["target"], command + ": target");
            Harness.Equal(result, names["result"], command + ": result");
            Harness.Equal(exception, names["exception"], command + ": exception");
            Harness.Equal(instances, names["instances"], command + ": instances");
        }

        public static void ABreakpointByMethodStopsInTheCall()
        {
            using (DebuggedSession session = WithAccount())
            using (AttachedDebugger debugger = new AttachedDebugger(session))
            {
                debugger.Vm.SetBreakpoint(debugger.Type("Debuggee.Account").GetMethod("Pay"), 0);
                session.Type("invoke account.Pay(7, \"tea\")");
                BreakpointEvent stop = debugger.Next<BreakpointEvent>();
                Harness.Equal("Pay", stop.Method.Name, "the method");
                StackFrame frame = stop.Thread.GetFrames()[0];
                Harness.Equal(7, AttachedDebugger.Plain(frame.GetArgument(0)), "the first argument");
                Harness.Equal("tea", AttachedDebugger.Plain(frame.GetArgument(1)), "the second argument");
                Harness.Equal("Ada", AttachedDebugger.Field(frame.GetThis(), "m_owner"), "a field of this");
                Thread.Sleep(300);
                Harness.Equal(0, session.Shown().Length, "what the client shows while the call is held");
                debugger.Vm.Resume();
                debugger.Next<UserBreakEvent>();
                debugger.Vm.Resume();
                session.WaitFor("    | => int 18", 1);
            }
        }

        public static void ABreakpointByFileAndLineStopsThere()
        {
            using (DebuggedSession session = WithAccount())
            using (AttachedDebugger debugger = new AttachedDebugger(session))
            {
                int line = debugger.BreakAt(s_source, "store");
                session.Type("invoke account.Pay(7, \"tea\")");
                StackFrame frame = debugger.Next<BreakpointEvent>().Thread.GetFrames()[0];
                Harness.Equal(line, frame.LineNumber, "the line");
                Harness.Equal(s_source, frame.FileName, "the file");
                Harness.Equal(0, AttachedDebugger.Local(frame, "before"), "a local number");
                Harness.Equal(7, AttachedDebugger.Local(frame, "after"), "another");
                Harness.Equal("tea for Ada", AttachedDebugger.Local(frame, "note"), "a local text");
                frame.SetValue(frame.GetVisibleVariableByName("after"), debugger.Vm.CreateValue(100));
                debugger.Vm.Resume();
                Harness.Equal(111, AttachedDebugger.Plain(Result(debugger.Next<UserBreakEvent>())), "what the change made of the result");
                debugger.Vm.Resume();
                session.WaitFor("    | => int 111", 1);
            }
        }

        private static Mirror Result(UserBreakEvent stop)
        {
            StackFrame frame = stop.Thread.GetFrames()[0];
            return frame.GetValue(frame.GetVisibleVariableByName("result"));
        }

        public static void StepsGoOverIntoAndOut()
        {
            using (DebuggedSession session = WithAccount())
            using (AttachedDebugger debugger = new AttachedDebugger(session))
            {
                int line = debugger.BreakAt(s_source, "second");
                session.Type("invoke account.Pay(7, \"tea\")");
                ThreadMirror thread = debugger.Next<BreakpointEvent>().Thread;
                Harness.Equal(line + 1, debugger.Step(thread, StepDepth.Over).LineNumber, "over");
                StackFrame inside = debugger.Step(thread, StepDepth.Into);
                Harness.Equal("Add", inside.Method.Name, "into");
                Harness.Equal(7, AttachedDebugger.Plain(inside.GetArgument(1)), "an argument there");
                Harness.Equal("Pay", debugger.Step(thread, StepDepth.Out).Method.Name, "out");
                debugger.Vm.Resume();
                debugger.Next<UserBreakEvent>();
                Finish(session, debugger);
            }
        }

        public static void ExpressionsAreEvaluatedInTheCall()
        {
            using (DebuggedSession session = WithAccount())
            using (AttachedDebugger debugger = new AttachedDebugger(session))
            {
                debugger.BreakAt(s_source, "first");
                session.Type("invoke account.Pay(7, \"tea\")");
                ThreadMirror thread = debugger.Next<BreakpointEvent>().Thread;
                ObjectMirror account = (ObjectMirror)thread.GetFrames()[0].GetThis();
                account.InvokeMethod(thread, account.Type.GetMethod("set_Balance"), new Mirror[] { debugger.Vm.CreateValue(40) });
                Mirror sum = account.Type.InvokeMethod(thread, account.Type.GetMethod("Add"),
                                                      new Mirror[] { debugger.Vm.CreateValue(1), debugger.Vm.CreateValue(2) });
                Harness.Equal(3, AttachedDebugger.Plain(sum), "a static call");
                debugger.Vm.Resume();
                debugger.Next<UserBreakEvent>();
                debugger.Vm.Resume();
                session.WaitFor("    | => int 58", 1);
            }
        }

        public static void ABreakpointStopsOnAThreadOfTheCall()
        {
            using (DebuggedSession session = WithAccount())
            using (AttachedDebugger debugger = new AttachedDebugger(session))
            {
                debugger.BreakAt(s_source, "inside");
                session.Type("invoke account.OnAnotherThread(5)");
                BreakpointEvent stop = debugger.Next<BreakpointEvent>();
                Harness.True(stop.Thread.Id != debugger.First.Id, "it is another thread");
                debugger.Vm.Resume();
                debugger.Next<UserBreakEvent>();
                debugger.Vm.Resume();
                session.WaitFor("    | => int 5", 1);
            }
        }

        // The client has a success and the idle message before the stop, and the final response only when it is over.
        public static void TheStepStopsBetweenTheResponses()
        {
            using (DebuggedSession session = WithAccount())
            using (AttachedDebugger debugger = new AttachedDebugger(session))
            {
                session.Type("get account.Balance");
                debugger.Next<UserBreakEvent>();
                session.WaitFor("    message idle", 2);
                Thread.Sleep(300);
                Harness.Equal("    | => int 0\n    response success\n    message idle", string.Join("\n", session.Shown()), "while it is held");
                debugger.Vm.Resume();
                session.WaitFor("  succeeded after", 3);
                Harness.Equal("    response success", session.Shown()[3], "afterwards");
            }
        }

        public static void TheStepShowsWhatTheCommandDid()
        {
            const string account = "Debuggee.Account";
            using (DebuggedSession session = Start())
            {
                session.Do("load Debuggee.dll");
                using (AttachedDebugger debugger = new AttachedDebugger(session))
                {
                    Holds(StopAfter(session, debugger, "create a = Debuggee.Account(\"Ada\")"), "create a = Debuggee.Account(\"Ada\")",
                          "CreatedType", null, account, null, 1);
                    Holds(StopAfter(session, debugger, "invoke a.Pay(7, \"tea\")"), "invoke a.Pay(7, \"tea\")", "InvokedOk", account, 18, null, 1);
                    Holds(StopAfter(session, debugger, "invoke b = Debuggee.Account.Add(1, 2)"), "invoke b = Debuggee.Account.Add(1, 2)",
                          "InvokedOk", null, 3, null, 2);
                    Holds(StopAfter(session, debugger, "get a.Balance"), "get a.Balance", "Success", account, 7, null, 2);
                    Holds(StopAfter(session, debugger, "set a.Balance = 3"), "set a.Balance = 3", "Success", account, 3, null, 2);
                    Holds(StopAfter(session, debugger, "get a.Nothing"), "get a.Nothing", "Fail", null, null, "OrvWorkBench.CommandError", 2);
                    session.WaitFor("  failed after", 1);
                }
            }
        }

        public static void AFailedCallStopsWithItsException()
        {
            using (DebuggedSession session = WithAccount())
            using (AttachedDebugger debugger = new AttachedDebugger(session))
            {
                Holds(StopAfter(session, debugger, "invoke account.Fail(\"late\")"), "invoke account.Fail(\"late\")", "Exception",
                      "Debuggee.Account", null, "System.InvalidOperationException", 1);
                session.WaitFor("  exception raised after", 1);
            }
        }

        // As they have no breakpoint step; a question has one in which nothing stops.
        public static void NothingStopsAfterLoadDeleteResetAndQuestions()
        {
            using (DebuggedSession session = WithAccount())
            using (AttachedDebugger debugger = new AttachedDebugger(session))
            {
                session.Do("load Debuggee.dll");
                session.Do("instances");
                session.Do("delete account");
                session.Do("reset");
                Harness.True(debugger.IsQuiet(200), "nothing stopped");
            }
        }

        public static void AThrownExceptionStopsWhereItIsThrown()
        {
            using (DebuggedSession session = WithAccount())
            using (AttachedDebugger debugger = new AttachedDebugger(session))
            {
                ExceptionEventRequest request =
                    debugger.Vm.CreateExceptionRequest(debugger.Type("System.InvalidOperationException"), true, true);
                request.Enable();
                session.Type("invoke account.Fail(\"early\")");
                ExceptionEvent stop = debugger.Next<ExceptionEvent>();
                StackFrame frame = stop.Thread.GetFrames()[0];
                Harness.Equal("Fail", frame.Method.Name, "the method");
                Harness.Equal("early", AttachedDebugger.Plain(frame.GetArgument(0)), "its argument");
                debugger.Vm.Resume();
                debugger.Next<UserBreakEvent>();
                debugger.Vm.Resume();
                session.WaitFor("  exception raised after", 1);
            }
        }

        // The first event names a thread that is there, which other debuggers insist on.
        public static void DebuggersComeAndGo()
        {
            using (DebuggedSession session = WithAccount())
            {
                for (int i = 0; i < 20; ++i)
                {
                    using (AttachedDebugger debugger = new AttachedDebugger(session))
                    {
                        bool isThere = false;
                        foreach (ThreadMirror thread in debugger.Vm.GetThreads())
                            isThere |= thread.Id == debugger.First.Id;
                        Harness.True(isThere, "the main thread is one of the threads, time " + i);
                        Harness.Equal("", debugger.First.Name, "its name");
                        debugger.Vm.SetBreakpoint(debugger.Type("Debuggee.Account").GetMethod("Pay"), 0);
                        session.Type("invoke account.Pay(1, \"a\")");
                        debugger.Next<BreakpointEvent>();
                        debugger.Detach();
                    }
                    // Not before the breakpoint step is over, at which the next one would stop.
                    session.WaitFor("  succeeded after", i + 3);
                    session.WaitFor("    | => int " + (10 + i), 1);
                }
            }
        }

        // As when the debugger's window is closed while it holds the call.
        public static void ADebuggerThatDiesLetsTheCallGo()
        {
            using (DebuggedSession session = WithAccount())
            {
                ProcessStartInfo start = new ProcessStartInfo(Process.GetCurrentProcess().MainModule.FileName,
                    "\"" + Path.Combine(Harness.Folder, "DebuggerTest.exe") + "\" --hold " + session.Port);
                start.UseShellExecute = false;
                start.RedirectStandardOutput = true;
                using (Process holder = Process.Start(start))
                {
                    Harness.Equal("attached", holder.StandardOutput.ReadLine(), "the other debugger");
                    session.Type("invoke account.Pay(7, \"tea\")");
                    Harness.Equal("stopped", holder.StandardOutput.ReadLine(), "the other debugger");
                    holder.Kill();
                    holder.WaitForExit();
                }
                session.WaitFor("    | => int 18", 1);
                session.WaitFor("  succeeded after", 3);
                session.Do("get account.Balance");
                Harness.Equal("    | => int 7", session.Shown()[0], "the next command");
                Harness.Equal(0, session.Quit(), "the client's status");
            }
        }

        // The one that is to die. It holds the call, or the step behind it.
        public static int Hold(int port, bool isBehind)
        {
            VirtualMachine vm = VirtualMachineManager.Connect(new System.Net.IPEndPoint(System.Net.IPAddress.Loopback, port));
            vm.GetNextEventSet();
            if (isBehind)
                vm.EnableEvents(EventType.UserBreak);
            else
                vm.SetBreakpoint(vm.GetTypes("Debuggee.Account", false)[0].GetMethod("Pay"), 0);
            Console.WriteLine("attached");
            vm.GetNextEventSet();
            Console.WriteLine("stopped");
            Thread.Sleep(DebuggedSession.LimitMilliseconds);
            return 1;
        }

        public static void TwoSessionsHaveADebuggerEach()
        {
            using (DebuggedSession first = WithAccount())
            using (DebuggedSession second = WithAccount())
            using (AttachedDebugger one = new AttachedDebugger(first))
            using (AttachedDebugger other = new AttachedDebugger(second))
            {
                one.BreakAt(s_source, "first");
                other.BreakAt(s_source, "last");
                first.Type("invoke account.Pay(1, \"a\")");
                second.Type("invoke account.Pay(2, \"b\")");
                Harness.Equal(1, AttachedDebugger.Plain(one.Next<BreakpointEvent>().Thread.GetFrames()[0].GetArgument(0)), "in the first");
                Harness.Equal(2, AttachedDebugger.Plain(other.Next<BreakpointEvent>().Thread.GetFrames()[0].GetArgument(0)), "in the second");
                one.Vm.Resume();
                one.Next<UserBreakEvent>();
                Finish(first, one);
                other.Vm.Resume();
                other.Next<UserBreakEvent>();
                Finish(second, other);
            }
        }

        public static void TheFirstCommandWaitsForTheDebugger()
        {
            using (DebuggedSession session = new DebuggedSession("--debug --debug-wait"))
            {
                session.WaitFor("  waiting for it", 1);
                session.Type("load Debuggee.dll");
                Thread.Sleep(500);
                Harness.True(!session.All.Contains("> load"), "no command before the debugger");
                using (AttachedDebugger debugger = new AttachedDebugger(session))
                {
                    session.WaitFor("  succeeded after", 1);
                    Holds(StopAfter(session, debugger, "invoke Debuggee.Account.Add(1, 2)"), "invoke Debuggee.Account.Add(1, 2)",
                          "InvokedOk", null, 3, null, 0);
                }
            }
        }

        // As one has it who always uses the same line to attach.
        public static void ThePortCanBeChosen()
        {
            int free;
            using (DebuggedSession any = Start())
                free = any.Port;
            using (DebuggedSession session = new DebuggedSession("--debug=" + free))
            using (new AttachedDebugger(session))
                Harness.Equal(free, session.Port, "the port");
        }

        // One that has the port cannot be talked to by two.
        public static void APortThatIsTakenIsRefused()
        {
            using (DebuggedSession first = Start())
            {
                string[] told = first.Another("--debug=" + first.Port + " \"invoke System.Math.Abs(-7)\"");
                Harness.Equal("2", told[0], "the exit status");
                Harness.Equal("OrvClient: --debug: another program listens on port " + first.Port + "\n", told[2], "the message");
            }
        }

        // It did not choose the port.
        public static void AnAttachedClientIsToldThePort()
        {
            using (DebuggedSession session = Start())
            {
                string[] told = session.Another("--debug --attach " + session.WorkbenchId + " \"invoke System.Math.Abs(-7)\"");
                Harness.Equal("0", told[0], told[2]);
                Harness.True(told[1].Contains(DebuggedSession.Invitation + session.Port + " "), told[1]);
                using (AttachedDebugger debugger = new AttachedDebugger(session))
                {
                    session.Type("invoke System.Math.Abs(-8)");
                    debugger.Next<UserBreakEvent>();
                    Finish(session, debugger);
                }
            }
        }

        public static void AnAttachedClientFindsNoAgentWhereThereIsNone()
        {
            using (DebuggedSession session = new DebuggedSession("--timeout 0"))
            {
                string[] told = session.Another("--debug --attach " + session.WorkbenchId + " \"invoke System.Math.Abs(-7)\"");
                Harness.Equal("2", told[0], "the exit status");
                Harness.True(told[2].StartsWith("OrvClient: --debug: the workbench has no debugger's agent", StringComparison.Ordinal), told[2]);
            }
        }

        // ORV_SUSPENSIONS says how often; a short run is the usual one.
        public static void ThreadsThatAllocateAndCollectAreSuspended()
        {
            int times = int.Parse(Environment.GetEnvironmentVariable("ORV_SUSPENSIONS") ?? "50");
            using (DebuggedSession session = WithAccount())
            using (AttachedDebugger debugger = new AttachedDebugger(session))
            {
                session.Type("invoke account.Work(4, " + (times * 12 + 1000) + ")");
                for (int i = 0; i < times; ++i)
                {
                    debugger.Vm.Suspend();
                    IList<ThreadMirror> threads = debugger.Vm.GetThreads();
                    foreach (ThreadMirror thread in threads)
                        thread.GetFrames();
                    debugger.Vm.Resume();
                    Thread.Sleep(5);
                }
                debugger.Next<UserBreakEvent>();
                Finish(session, debugger);
            }
        }

        public static void WithoutADebuggerNothingStops()
        {
            using (DebuggedSession session = new DebuggedSession("--timeout 0"))
            {
                session.Do("load Debuggee.dll");
                session.Do("create account = Debuggee.Account(\"Ada\")");
                session.Do("invoke account.Pay(7, \"tea\")");
                Harness.Equal("    | => int 18", session.Shown()[0], "the call");
                Harness.True(!session.All.Contains(DebuggedSession.Invitation), "none is let in");
                Harness.Equal(0, session.Quit(), "the client's status");
            }
        }
    }
}
