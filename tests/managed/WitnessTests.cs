using System;
using System.IO;
using System.Threading;
using OrvWorkBench;

namespace OrvTest
{
    // What the dispatcher leaves for a client that may lose a call. The file is named once per process, and the stacks
    // are told once: so there is one test, in steps.
    internal static class WitnessTests
    {
        private static string s_file;

        public static void ToldIsWhatAThreadDoesWhenSomebodyAsks()
        {
            s_file = Path.GetTempFileName();
            Environment.SetEnvironmentVariable("ORV_WORKBENCH_EVIDENCE", s_file);
            Bench.Start();
            Harness.Equal(null, Environment.GetEnvironmentVariable("ORV_WORKBENCH_EVIDENCE"), "the variable");
            RuntimeAndAssembliesAreToldAtOnce();
            AnAssemblyIsToldWhenItIsLoaded();
            NothingIsToldOutsideOfACommand();
            ACallIsTakenAwayInACommand();
            TheStacksAreToldInACommand();
            TheyAreToldOnce();
            File.Delete(s_file);
        }

        private static string Told()
        {
            using (FileStream file = new FileStream(s_file, FileMode.Open, FileAccess.Read, FileShare.ReadWrite | FileShare.Delete))
                return new StreamReader(file).ReadToEnd();
        }

        private static string Await(string text)
        {
            for (int i = 0; i < 600 && !Told().Contains(text); ++i)
                Thread.Sleep(50);
            return Told();
        }

        private static void RuntimeAndAssembliesAreToldAtOnce()
        {
            string told = Told();
            Harness.True(told.StartsWith("runtime: " + Environment.Version + " (Mono ", StringComparison.Ordinal), told);
            Harness.True(told.Contains("\nassembly: " + typeof(object).Assembly.FullName + "\t" + typeof(object).Assembly.Location + "\n"),
                         told);
            Harness.True(!told.Contains("command: "), told);
        }

        private static void AnAssemblyIsToldWhenItIsLoaded()
        {
            Bench.Load("Traps.dll");
            string line = "\nassembly: Traps, Version=0.0.0.0, Culture=neutral, PublicKeyToken=null\t" +
                          Path.Combine(Harness.Folder, "Traps.dll") + "\n";
            Harness.True(Told().Contains(line), Told());
        }

        // The thread that would answer sleeps; or, when it has not yet fallen asleep, sees that there is no command.
        private static void NothingIsToldOutsideOfACommand()
        {
            File.WriteAllText(s_file + ".ask", "");
            Thread.Sleep(700);
            File.Delete(s_file + ".ask");
            Harness.True(!Told().Contains("command: "), Told());
        }

        private static void ACallIsTakenAwayInACommand()
        {
            string call = s_file + ".call";
            Bench.Do("create", "trap = Traps.Trap()");
            File.WriteAllText(call, "");
            Thread.Sleep(700);
            Harness.True(File.Exists(call), "there is no command");
            Thread caller = new Thread(Call);
            caller.IsBackground = true;
            caller.Start();
            for (int i = 0; i < 600 && File.Exists(call); ++i)
                Thread.Sleep(50);
            Harness.True(!File.Exists(call), "there is a command");
            Traps.Trap.GoOn();
            caller.Join();
            Harness.True(!Told().Contains("command: "), Told());
        }

        private static void TheStacksAreToldInACommand()
        {
            File.WriteAllText(s_file + ".ask", "");
            // Sleeps until it is told to go on.
            Thread caller = new Thread(Call);
            caller.IsBackground = true;
            caller.Start();
            string told = Await("\nend\n");
            File.Delete(s_file + ".ask");
            Traps.Trap.GoOn();
            caller.Join();
            string[] lines = told.Substring(told.IndexOf("command: ", StringComparison.Ordinal)).Split('\n');
            Harness.Equal("command: invoke trap.Rests(\"\\n\", 7)", lines[0], "the command");
            Harness.Equal("method: void Traps.Trap.AwaitWord()", lines[1], told);
            Harness.True(lines[2].StartsWith("which called: ", StringComparison.Ordinal) && lines[2].Contains("System.Threading.Monitor."), told);
            Harness.True(lines[3].EndsWith(", which carries out the command", StringComparison.Ordinal), told);
            int own = Array.IndexOf(lines, "  void Traps.Trap.AwaitWord()");
            Harness.True(own > 3, told);
            Harness.Equal("  int Traps.Trap.Rests(string text, int number)", lines[own + 1], told);
            // Neither reflection nor the dispatcher stands below it: the next thread does.
            Harness.True(lines[own + 2].StartsWith("thread ", StringComparison.Ordinal), told);
            Harness.True(!told.Contains("OrvWorkBench.Witness"), "the thread that tells is not told of: " + told);
        }

        private static void Call()
        {
            Bench.Do("invoke", "trap.Rests(\"\\n\", 7)");
        }

        private static void TheyAreToldOnce()
        {
            string told = Told();
            File.WriteAllText(s_file + ".ask", "");
            Thread caller = new Thread(Call);
            caller.IsBackground = true;
            caller.Start();
            Thread.Sleep(500);
            File.Delete(s_file + ".ask");
            Traps.Trap.GoOn();
            caller.Join();
            Harness.Equal(told, Told(), "the second time");
        }
    }
}
