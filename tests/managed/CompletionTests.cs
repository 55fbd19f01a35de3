using System;
using System.Collections.Generic;
using System.IO;
using System.Reflection;
using OrvWorkBench;

namespace OrvTest
{
    // What may follow the cursor in a command line.
    internal static class CompletionTests
    {
        private static IList<CompletionEntry> After(string line)
        {
            return Completion.Of(Look.At, line).Entries;
        }

        // The texts with their kinds, "Target:property", of entries that replace the last name of the line; hints as what
        // they show, "?double Raise(double degrees)".
        private static string Offered(string line)
        {
            List<string> texts = new List<string>();
            foreach (CompletionEntry entry in After(line))
                texts.Add(entry.Text.Length > 0 ? entry.Text + ":" + entry.Kind : "?" + entry.Shown);
            return string.Join(" ", texts.ToArray());
        }

        private static bool IsOffered(string line, string text)
        {
            foreach (CompletionEntry entry in After(line))
            {
                if (entry.Text == text)
                    return true;
            }
            return false;
        }

        private static void Start()
        {
            Bench.Start();
            CInvoke.Reset("");
            CInvoke.LoadAssembly(Path.Combine(Harness.Folder, "../../bin/OrvSample.dll"));
            CInvoke.CreateType("t = OrvSample.Thermostat(\"kitchen\", 21)");
            Bench.Printed();
        }

        public static void TheLineSaysWhatFits()
        {
            Start();
            string[,] table = {
                { "get t.Tar", "Target:property" },
                { "get t.tar", "Target:property" },
                { "get  t . Tar", "Target:property" },
                { "create x = OrvSample.Th", "Thermostat:class" },
                { "create x = new OrvSample.Th", "Thermostat:class" },
                { "invoke t.Rai", "Raise(:method" },
                { "invoke t.Raise(t.Tar", "Target:property" },
                { "invoke OrvSample.Thermostat.To", "ToFahrenheit(:method" },
                { "get OrvSample.Mode.H", "Heat:field" },
                { "get OrvSample.Mo", "Mode:enum" },
                { "get OrvS", "OrvSample.:namespace" },
                { "set using OrvS", "OrvSample:namespace" },
                { "set t.TargetC", "TargetChanged:event" },
                { "set t.TargetChanged += w", "watch:word" },
                { "get t.TargetC", "" },
                { "set t.Target = t.Low", "" },
                { "set t.Mode = OrvSample.Mode.O", "Off:field" },
                { "delete t", "t:instance" },
                { "delete u", "using:word" },
                { "dump t.Hist", "History:property" },
                { "members t.Hist", "History:property" },
                { "types OrvSample.Therm", "Thermostat:class" },
                { "get t.Room.Len", "Length:property" },
                { "get t.History[0].CompareT", "CompareTo(:method CompareTo(:method" },
                { "get t.History.Cou", "Count:property" },
                { "get ((OrvSample.Thermostat)t).Tar", "Target:property" },
                { "get (OrvSample.Thermostat)t.Tar", "Target:property" },
                { "get new OrvSample.Thermostat(\"x\").Tar", "Target:property" },
                { "invoke \"abc\".Leng", "Length:property" },
                { "get typeof(int).FullN", "FullName:property" },
                { "get typeof(OrvSample.Mo", "Mode:enum" },
                { "create d = System.Collections.Generic.Dictio", "Dictionary<:class" },
                { "create d = System.Collections.Generic.Dictionary<OrvSample.M", "Mode:enum" },
                { "create d = System.Collections.Generic.Dictionary<int, OrvSample.M", "Mode:enum" },
                { "invoke t.Raise(\"Tar", "" },
                { "invoke t.Raise('T", "" },
                { "get nothing.T", "" },
                { "find Tar", "" },
                { "load Orv", "" },
                { "Tar", "" },
                { "", "" },
                { "get t.Target Tar", "" },
                { "get t.Raise(1) Tar", "" },
                { "create x", "" },
            };
            for (int i = 0; i < table.GetLength(0); ++i)
                Harness.Equal(table[i, 1], Offered(table[i, 0]), table[i, 0]);
        }

        public static void HintsSayWhatACallTakes()
        {
            Start();
            Harness.True(Offered("invoke t.Raise(").StartsWith("?double Raise(double degrees) t:instance "), Offered("invoke t.Raise("));
            Harness.True(Offered("invoke t.Measure(1, ").StartsWith("?OrvSample.Mode Measure(double temperature, out double difference) t:instance "), "second");
            Harness.True(!Offered("invoke t.Raise(1, ").StartsWith("?"), "no second argument");
            Harness.True(Offered("create x = OrvSample.Thermostat(").StartsWith("?Thermostat(string room) ?Thermostat(string room, double target) "), "constructors");
            Harness.True(Offered("get t.History[").StartsWith("?double this[int index]"), Offered("get t.History["));
        }

        public static void TheEntryTellsWhereItBelongs()
        {
            Start();
            CompletionEntry entry = After("get t.tar")[0];
            Harness.Equal(6, entry.At, "at");
            Harness.Equal("Target", entry.Text, "text");
            Harness.Equal("property", entry.Kind, "kind");
            Harness.Equal("double Target { get; set; }", entry.Shown, "shown");
            Harness.Equal(15, After("invoke t.Raise(")[0].At, "a hint's place");
        }

        public static void ValuesAreToldAndFailNot()
        {
            Start();
            Bench.Expect("invoke", "OrvWorkBench.Look.Value(\" t.Target \")", 10, "  t.Target = 21");
            Bench.Expect("invoke", "OrvWorkBench.Look.Value(\"t.Targe\")", 10, "  t.Targe ('OrvSample.Thermostat' has no public instance property or field 'Targe')");
            Bench.Expect("invoke", "OrvWorkBench.Look.Value(\"t.Overheat()\")", 10, "  t.Overheat() (System.InvalidOperationException: The thermostat of kitchen cannot overheat.)");
            Bench.Expect("invoke", "OrvWorkBench.Look.Complete(\"get t.Tar\")", 10, "  Target  // double Target { get; set; }");
        }
    }
}
