using System;
using System.IO;
using System.Reflection;
using System.Text;
using System.Threading;

namespace OrvWorkBench
{
    // Keeps what a client needs to know of a call that it loses. The client names a file in the environment of the
    // workbench that it starts. There it finds the runtime and each assembly as it is loaded; and what each thread does,
    // when it asks for that during a command, by a second file beside the first, or when the process ends in a command.
    // A third file of that kind is taken away as long as a command runs: a client sees that no debugger holds the process.
    // Without a file nothing is kept.
    internal static class Witness
    {
        private const string c_fileVariable = "ORV_WORKBENCH_EVIDENCE";
        private const string c_askEnding = ".ask";
        private const string c_callEnding = ".call";
        // Of the thread that looks whether it is asked.
        private const int c_stepMs = 100;

        private static readonly UTF8Encoding s_encoding = new UTF8Encoding(false);
        private static readonly object s_lock = new object();
        private static bool s_isAsked;
        private static Stream s_file;
        private static string s_askPath;
        private static string s_callPath;
        private static Thread s_thread;
        // Odd while a command is being carried out.
        private static volatile int s_count;
        private static volatile bool s_isAsleep;
        private static bool s_hasTold;

        // At the start of a command, on its thread.
        public static void Begin()
        {
            Prepare();
            if (s_file == null)
                return;
            s_thread = Thread.CurrentThread;
            ++s_count;
            // Each of the two threads sees what the other has said, or the other sees what it says.
            Thread.MemoryBarrier();
            if (!s_isAsleep)
                return;
            lock (s_lock)
                Monitor.Pulse(s_lock);
        }

        // At its end.
        public static void End()
        {
            if (s_file != null)
                ++s_count;
        }

        // Once.
        private static void Prepare()
        {
            if (s_isAsked)
                return;
            s_isAsked = true;
            string path;
            s_file = ClientFile.Open(c_fileVariable, out path);
            if (s_file == null)
                return;
            s_askPath = path + c_askEnding;
            s_callPath = path + c_callEnding;
            Guard.Run(Start);
        }

        private static void Start()
        {
            Write("runtime: " + StackTexts.Runtime() + "\n");
            // First, so that none is missed; one may be told twice.
            AppDomain.CurrentDomain.AssemblyLoad += delegate(object sender, AssemblyLoadEventArgs loaded) {
                Tell(loaded.LoadedAssembly);
            };
            foreach (Assembly assembly in AppDomain.CurrentDomain.GetAssemblies())
                Tell(assembly);
            AppDomain.CurrentDomain.ProcessExit += delegate(object sender, EventArgs none) {
                if (IsInCommand(s_count))
                    TellStacks();
            };
            Thread thread = new Thread(Listen);
            thread.IsBackground = true;
            thread.Start();
        }

        private static bool IsInCommand(int count)
        {
            return count % 2 != 0;
        }

        // Sleeps for good while there is no command; and costs a short one nothing, which does not see it awake.
        private static void Listen()
        {
            for (;;)
            {
                int count = s_count;
                if (!IsInCommand(count))
                    AwaitCommand(count);
                Thread.Sleep(c_stepMs);
                if (count == s_count && IsInCommand(count))
                    Answer();
            }
        }

        private static void Answer()
        {
            Guard.Run(delegate() {
                if (File.Exists(s_callPath))
                    File.Delete(s_callPath);
                if (File.Exists(s_askPath))
                    TellStacks();
            });
        }

        private static void AwaitCommand(int count)
        {
            // A session that gives one command after the other is not to wake this thread at each.
            Thread.Sleep(c_stepMs);
            if (count != s_count)
                return;
            lock (s_lock)
            {
                s_isAsleep = true;
                Thread.MemoryBarrier();
                if (count == s_count)
                    Monitor.Wait(s_lock);
                s_isAsleep = false;
            }
        }

        private static void Tell(Assembly assembly)
        {
            Guard.Run(delegate() { Write("assembly: " + assembly.FullName + "\t" + LocationOf(assembly) + "\n"); });
        }

        // One that was made in memory has none, and some of those say so by an exception.
        private static string LocationOf(Assembly assembly)
        {
            string location = "";
            Guard.Run(delegate() { location = assembly.Location; });
            return location;
        }

        // Piece by piece: the thread that is looked at may hold what the next piece needs.
        private static void TellStacks()
        {
            lock (s_lock)
            {
                if (s_hasTold)
                    return;
                s_hasTold = true;
            }
            Write("command: " + Printable.OneLine(LastCommand.Text) + "\n");
            Exception failure = Guard.Run(delegate() { Write(StackTexts.Show(s_thread)); });
            if (failure != null)
                Write("(the stacks cannot be had: " + Guard.NameAndMessage(failure) + ")\n");
            Write("end\n");
        }

        private static void Write(string text)
        {
            byte[] bytes = s_encoding.GetBytes(text);
            Guard.Run(delegate() {
                lock (s_file)
                {
                    s_file.Write(bytes, 0, bytes.Length);
                    s_file.Flush();
                }
            });
        }
    }
}
