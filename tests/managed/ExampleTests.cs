using System;
using System.Collections.Generic;
using System.IO;
using OrvWorkBench;

namespace OrvTest
{
    // Command lines to try, made of what is there.
    internal static class ExampleTests
    {
        private static readonly string[] s_words = { "load",  "create", "invoke", "get", "set", "delete", "reset", "stop",
                                                     "types", "members", "instances", "find", "dump" };

        private static void Start()
        {
            Bench.Start();
            CInvoke.Reset("");
            Bench.Printed();
        }

        private static void LoadSample()
        {
            CInvoke.LoadAssembly(Path.Combine(Harness.Folder, "../../bin/OrvSample.dll"));
        }

        private static string Of(string word)
        {
            return string.Join("; ", new List<string>(Examples.Of(Look.At, word)).ToArray());
        }

        // As the client does it.
        private static int Give(string line)
        {
            int blank = line.IndexOf(' ');
            string word = blank < 0 ? line : line.Substring(0, blank);
            string text = blank < 0 ? "" : line.Substring(blank + 1);
            string quoted = text.Replace("\\", "\\\\").Replace("\"", "\\\"");
            switch (word)
            {
            case "stop":
                return 5;
            case "types":
                return CInvoke.Invoke("OrvWorkBench.Look.Types(" + (text.Length == 0 ? "" : "\"" + quoted + "\"") + ")");
            case "instances":
                return CInvoke.Invoke("OrvWorkBench.Look.Instances()");
            case "find":
                return CInvoke.Invoke("OrvWorkBench.Look.Find(\"" + quoted + "\")");
            case "dump":
                return CInvoke.Invoke("OrvWorkBench.Look.Dump(\"" + quoted + "\")");
            case "members":
                string[] parts = text.Split(' ');
                return CInvoke.Invoke("OrvWorkBench.Look.Members(\"" + parts[0] + "\"" + (parts.Length > 1 ? ", \"" + parts[1] + "\"" : "") + ")");
            default:
                return Bench.Do(word, text);
            }
        }

        private static void AllBind(string where)
        {
            foreach (string word in s_words)
            {
                IList<string> lines = new List<string>(Examples.Of(Look.At, word));
                Harness.True(lines.Count <= 3, where + ": " + word + " has " + lines.Count);
                Harness.True(lines.Count > 0 || word == "delete", where + ": " + word + " has none");
                foreach (string line in lines)
                {
                    if (word == "reset" || word == "delete" || (word == "find" && line != lines[0]))
                        continue;
                    int result = Give(line);
                    string printed = Bench.Printed();
                    Harness.True(result >= 5 && result != 11 && result != 12, where + ": " + line + " answers " + result + "\n" + printed);
                }
            }
        }

        public static void EachExampleBinds()
        {
            // What some of them make is not to lie about.
            string folder = Path.Combine(Harness.Folder, "examples");
            Directory.CreateDirectory(folder);
            Environment.CurrentDirectory = folder;
            Start();
            AllBind("nothing loaded");
            Start();
            LoadSample();
            AllBind("the sample");
            Start();
            LoadSample();
            CInvoke.CreateType("t = OrvSample.Thermostat(\"kitchen\", 21)");
            CInvoke.CreateType("m = OrvSample.Mode()");
            AllBind("its instances");
            foreach (string library in new string[] { "mscorlib", "System", "System.Xml", "System.Core" })
            {
                Start();
                CInvoke.LoadAssembly(library);
                AllBind(library);
            }
            Bench.Start();
            AllBind("the test library");
            Start();
            Bench.Load("orphan/Orphan.dll");
            AllBind("a library without what it needs");
            CInvoke.Invoke("nothing = System.Environment.GetEnvironmentVariable(\"no such variable\")");
            CInvoke.Invoke("own = System.Type.GetType(\"OrvWorkBench.CInvoke, DispatcherTest\")");
            CInvoke.CreateType("out = System.Text.StringBuilder()");
            CInvoke.CreateType("@int = OrvTest.Independent()");
            Bench.Printed();
            AllBind("odd instances");
        }

        public static void ExamplesAreMadeOfWhatIsThere()
        {
            Start();
            Harness.Equal("invoke System.Math.Max(1, 2)", Of("invoke"), "nothing loaded");
            Harness.Equal("create b = System.Text.StringBuilder(\"abc\"); create l = System.Collections.Generic.List<int> { 1, 2, 3 }", Of("create"), "nothing loaded");
            Harness.Equal("", Of("delete"), "nothing made");
            LoadSample();
            Harness.Equal("invoke OrvSample.Thermostat.ToFahrenheit(1.5)", Of("invoke"), "loaded");
            CInvoke.CreateType("t = OrvSample.Thermostat(\"kitchen\", 21)");
            Harness.Equal("invoke t.Raise(1.5); invoke OrvSample.Thermostat.ToFahrenheit(1.5)", Of("invoke"), "made");
            Harness.Equal("get t.Room; get t.Mode; get OrvSample.Mode.Off", Of("get"), "made");
            Harness.Equal("set t.Mode = OrvSample.Mode.Heat; set t.TargetChanged += watch; set using OrvSample", Of("set"), "made");
            Bench.Do("set", "t.TargetChanged += watch");
            Harness.Equal("set t.Mode = OrvSample.Mode.Heat; set t.Target = 20.5; set using OrvSample", Of("set"), "watched");
            Harness.Equal("delete t", Of("delete"), "made");
            Bench.Do("set", "using OrvSample");
            Harness.Equal("delete t; delete using OrvSample", Of("delete"), "used");
            Bench.Do("delete", "using OrvSample");
            Harness.Equal("reset", Of("reset"), "reset");
            Harness.Equal("", Of("nothing"), "unknown");
            Harness.Equal("create t2 = OrvSample.Thermostat(\"abc\"); create t3 = OrvSample.TargetEventArgs(20.5); " +
                              "create l = System.Collections.Generic.List<int> { 1, 2, 3 }", Of("create"), "names that are free");
        }
    
        public static void TheSampleBesideTheDispatcherCanBeLoaded()
        {
            Start();
            string file = Path.Combine(Harness.Folder, "OrvSample.dll");
            File.Copy(Path.Combine(Harness.Folder, "../../bin/OrvSample.dll"), file, true);
            string before = Environment.CurrentDirectory;
            Environment.CurrentDirectory = Path.GetTempPath();
            string fromElsewhere = Of("load");
            Environment.CurrentDirectory = Harness.Folder;
            string fromThere = Of("load");
            Environment.CurrentDirectory = before;
            File.Delete(file);
            Harness.Equal("load " + (file.Contains(" ") ? "\"" + file + "\"" : file) + "; load System.Xml", fromElsewhere, "by its path");
            Harness.Equal("load OrvSample.dll; load System.Xml", fromThere, "by its name");
            Harness.Equal("load System.Xml", Of("load"), "not there");
        }

        public static void TheDispatcherPrintsThem()
        {
            Start();
            Bench.Expect("invoke", "OrvWorkBench.Look.Example(\" invoke \")", 10, "  invoke System.Math.Max(1, 2)");
        }
    }
}
