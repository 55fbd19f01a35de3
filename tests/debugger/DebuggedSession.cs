using System;
using System.Collections.Generic;
using System.Diagnostics;
using System.IO;
using System.Net;
using System.Threading;
using Mono.Debugger.Soft;

namespace OrvTest
{
    // A client with a workbench whose runtime lets debuggers in, in a folder of its own as a user has it. Commands go in
    // by its input.
    internal sealed class DebuggedSession : IDisposable
    {
        public const int LimitMilliseconds = 60000;
        // How the client says where a debugger comes in, before the port.
        public const string Invitation = "  a Mono debugger may connect to 127.0.0.1 port ";

        private static readonly string[] s_programs = {
            "bin/OrvClient.exe", "bin/OrvWorkBench64.exe", "bin/OrvWorkBench64.exe.config", "bin/OrvWorkBench64.dll",
            "bin/OrvWorkBench64.dll.mdb", "bridge/mscoree.dll", "tests/debugger/Debuggee.dll", "tests/debugger/Debuggee.dll.mdb"
        };

        private readonly string m_folder;
        private readonly Process m_client;
        private readonly Thread m_reader;
        private readonly List<string> m_lines = new List<string>();

        // With the client's arguments.
        public DebuggedSession(string arguments)
        {
            m_folder = Path.Combine(Path.GetTempPath(), "orv-debugger-" + Guid.NewGuid().ToString("N"));
            Directory.CreateDirectory(m_folder);
            foreach (string program in s_programs)
                File.Copy(Path.Combine(Build, program), Path.Combine(m_folder, Path.GetFileName(program)));
            ProcessStartInfo start = ClientOf(m_folder, arguments);
            start.RedirectStandardError = false;
            m_client = Process.Start(start);
            m_reader = new Thread(Read);
            m_reader.IsBackground = true;
            m_reader.Start();
            WaitFor("  ready after", 1);
            if (arguments.Contains("--debug"))
                Port = ShownPort();
        }

        public static string Build
        {
            get { return Environment.GetEnvironmentVariable("ORV_BUILD"); }
        }

        public static string Root
        {
            get { return Environment.GetEnvironmentVariable("ORV_ROOT"); }
        }

        public int Port { get; private set; }

        // "workbench 336 started, client id 130"
        public string WorkbenchId
        {
            get { return All.Split(' ')[1]; }
        }

        // Runs another client of the same folder to its end. Returns its exit status, output and errors.
        public string[] Another(string arguments)
        {
            using (Process client = Process.Start(ClientOf(m_folder, arguments)))
            {
                string errors = "";
                client.ErrorDataReceived += delegate(object sender, DataReceivedEventArgs line) {
                    errors += line.Data == null ? "" : line.Data.TrimEnd('\r') + "\n";
                };
                client.BeginErrorReadLine();
                client.StandardInput.Close();
                string output = client.StandardOutput.ReadToEnd();
                client.WaitForExit();
                return new string[] { client.ExitCode.ToString(), output, errors };
            }
        }

        private static ProcessStartInfo ClientOf(string folder, string arguments)
        {
            ProcessStartInfo start = new ProcessStartInfo(Path.Combine(Root, "tools/wine-run"),
                                                          "\"" + Path.Combine(folder, "OrvClient.exe") + "\" " + arguments);
            start.UseShellExecute = false;
            start.RedirectStandardInput = true;
            start.RedirectStandardOutput = true;
            start.RedirectStandardError = true;
            start.WorkingDirectory = folder;
            return start;
        }

        public VirtualMachine Attach()
        {
            return VirtualMachineManager.Connect(new IPEndPoint(IPAddress.Loopback, Port));
        }

        // Gives a command without waiting for it.
        public void Type(string command)
        {
            m_client.StandardInput.WriteLine(command);
            m_client.StandardInput.Flush();
        }

        // Gives a command and waits for its end.
        public void Do(string command)
        {
            int ended = Ended();
            Type(command);
            Wait(delegate() { return Ended() > ended; }, "the end of " + command);
        }

        // What the client has shown since the last command.
        public string[] Shown()
        {
            lock (m_lines)
            {
                int last = m_lines.FindLastIndex(delegate(string line) { return line.StartsWith("> "); });
                return m_lines.GetRange(last + 1, m_lines.Count - last - 1).ToArray();
            }
        }

        public string All
        {
            get
            {
                lock (m_lines)
                    return string.Join("\n", m_lines.ToArray());
            }
        }

        // Until so many lines begin with the text.
        public void WaitFor(string beginning, int times)
        {
            Wait(delegate() { return Count(delegate(string line) { return line.StartsWith(beginning, StringComparison.Ordinal); }) >= times; },
                 beginning);
        }

        public int Quit()
        {
            Type("quit");
            if (!m_client.WaitForExit(LimitMilliseconds))
                throw new Exception("the client does not end:\n" + All);
            m_reader.Join();
            return m_client.ExitCode;
        }

        public void Dispose()
        {
            if (!m_client.HasExited)
            {
                m_client.StandardInput.Close();
                if (!m_client.WaitForExit(5000))
                    m_client.Kill();
            }
            m_client.Dispose();
            Directory.Delete(m_folder, true);
        }

        // "a Mono debugger may connect to 127.0.0.1 port 55555 (sdb: ...)"
        private int ShownPort()
        {
            WaitFor(Invitation, 1);
            string all = All;
            int start = all.IndexOf(Invitation, StringComparison.Ordinal) + Invitation.Length;
            return int.Parse(all.Substring(start, all.IndexOf(' ', start) - start));
        }

        private delegate bool Condition();

        private void Wait(Condition holds, string what)
        {
            Stopwatch watch = Stopwatch.StartNew();
            while (!holds())
            {
                if (watch.ElapsedMilliseconds > LimitMilliseconds)
                    throw new Exception("waited for " + what + ":\n" + All);
                Thread.Sleep(10);
            }
        }

        // Commands that have ended: "  succeeded after 3 ms".
        private int Ended()
        {
            return Count(delegate(string line) { return line.StartsWith("  ") && !line.StartsWith("   ") && line.Contains(" after "); });
        }

        private int Count(Predicate<string> holds)
        {
            lock (m_lines)
                return m_lines.FindAll(holds).Count;
        }

        private void Read()
        {
            for (string line = m_client.StandardOutput.ReadLine(); line != null; line = m_client.StandardOutput.ReadLine())
            {
                lock (m_lines)
                    m_lines.Add(line);
            }
        }
    }
}
