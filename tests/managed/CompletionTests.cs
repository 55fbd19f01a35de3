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
            Bench.Load("../../bin/OrvSample.dll");
            CInvoke.CreateType("t = OrvSample.Thermostat(\"kitchen\", 21)");
            CInvoke.CreateType("q = OrvTest.Completing.Quiet { Next = new OrvTest.Completing.Quiet() }");
            CInvoke.CreateType("tell = System.Text.StringBuilder(\"abc\")");
            Bench.Printed();
        }

        private static void Table(string[,] table)
        {
            Start();
            for (int i = 0; i < table.GetLength(0); ++i)
                Harness.Equal(table[i, 1], Offered(table[i, 0]), table[i, 0]);
        }

        public static void AValueOffersItsMembers()
        {
            Table(new string[,] {
                { "get t.Tar", "Target:property" },
                { "get t.tAR", "Target:property" },
                { "  get  t . Tar", "Target:property" },
                { "get x = t.Tar", "Target:property" },
                { "get t.Target", "Target:property" },
                { "invoke t.Rai", "Raise(:method" },
                { "invoke x = t.Rai", "Raise(:method" },
                { "invoke t.@Rai", "Raise(:method" },
                { "dump t.Hist", "History:property" },
                { "members t.Hist", "History:property" },
                { "set t.Tar", "Target:property TargetChanged:event" },
                { "set t.Target = t.Tar", "Target:property" },
                { "set q[t.Tar", "Target:property" },
                { "set q.Only", "OnlyWritten:property" },
                { "get q.Only", "" },
                { "get t.TargetC", "" },
                { "get t.Low", "" },
                { "invoke t.Raise(t.Tar", "Target:property" },
                { "invoke t.Raise(-t.Tar", "Target:property" },
                { "invoke t.Raise(1 | t.Tar", "Target:property" },
                { "invoke t.Raise(degrees: t.Tar", "Target:property" },
                { "invoke t.Measure(1, out t", "t:instance tell:instance" },
                { "invoke q.ob", "@object(:method" },
                { "invoke q.@ob", "@object(:method" },
                { "get new OrvSample.Thermostat(\"x.(\").Tar", "Target:property" },
                { "get new OrvSample.Thermostat { Target = 7 }.Tar", "Target:property" },
                { "invoke \"abc\".Leng", "Length:property" },
                { "invoke 'a'.CompareT", "CompareTo(:method CompareTo(:method" },
                { "invoke 5.GetTypeC", "GetTypeCode(:method" },
                { "get typeof(int).FullN", "FullName:property" },
                { "get new[] {1, 2}.Leng", "Length:property" },
                { "get new int[2, 3].Leng", "Length:property" },
                { "get new int[] {1}[0].CompareT", "CompareTo(:method CompareTo(:method" },
                { "get nothing.T", "" },
                { "get $.T", "" },
            });
        }

        public static void ATypeOffersWhatIsStatic()
        {
            Table(new string[,] {
                { "invoke OrvSample.Thermostat.To", "ToFahrenheit(:method" },
                { "get OrvSample.Thermostat.Tar", "" },
                { "get OrvSample.Thermostat.Low", "Lowest:field" },
                { "get OrvSample.Mode.H", "Heat:field" },
                { "set t.Mode = OrvSample.Mode.O", "Off:field" },
                { "get int.MaxV", "MaxValue:field" },
                { "get OrvTest.Completing.Unmade.I", "Inside:class" },
                { "get OrvTest.Completing.Unmade+I", "Inside:class" },
                { "create x = OrvTest.Completing.Unmade.I", "Inside:class" },
                { "create x = OrvSample.Mode.H", "" },
                { "create x = OrvTest.Completing.Quiet.O", "" },
                { "get typeof(OrvSample.Mode.H", "" },
                { "get System.Collections.Generic.List<int>.Enu", "Enumerator:struct" },
                { "get System.Collections.Generic.List.Enu", "" },
                { "invoke OrvWorkBench.Look.Exam", "Example(:method" },
                { "invoke OrvWorkBench.CInvoke.R", "" },
                { "invoke OrvWorkBench.Lo", "" },
            });
        }

        public static void ANamespaceOffersTypesAndNamespaces()
        {
            Table(new string[,] {
                { "get OrvS", "OrvSample.:namespace" },
                { "get orvs", "OrvSample.:namespace" },
                { "get OrvSample.Mo", "Mode:enum" },
                { "get OrvSample . mo", "Mode:enum" },
                { "create x = OrvSample.Th", "Thermostat:class" },
                { "create x = new OrvSample.Th", "Thermostat:class" },
                { "invoke t.Raise(new OrvSample.Th", "Thermostat:class" },
                { "create x = OrvTest.Completing.U", "Unmade:class Untouched:class" },
                { "create x = OrvTest.Completing.He", "" },
                { "create x = OrvTest.Completing.IS", "" },
                { "get OrvTest.Completing.He", "Helpers:class" },
                { "get OrvTest.Comp", "Completing.:namespace" },
                { "get System.Tex", "Text.:namespace" },
                { "get System.Text.RegularE", "RegularExpressions.:namespace" },
                { "create d = System.Collections.Generic.Dictio", "Dictionary<:class" },
                { "create d = System.Collections.Generic.Dictionary<OrvSample.M", "Mode:enum" },
                { "create d = System.Collections.Generic.Dictionary<int, OrvSample.M", "Mode:enum" },
                { "create d = System.Collections.Generic.Dictionary<int, System.Collections.Generic.List<OrvSample.M", "Mode:enum" },
                { "invoke System.Array.IndexOf<OrvSample.M", "Mode:enum" },
                { "get typeof(OrvSample.Mo", "Mode:enum" },
                { "get (OrvSample.Mo", "Mode:enum" },
                { "types OrvSample.Therm", "Thermostat:class" },
                { "types OrvS", "OrvSample.:namespace" },
                { "get [OrvSample]OrvSample.Mo", "Mode:enum" },
                { "get [OrvSample]Orv", "OrvSample.:namespace" },
                { "get [OrvS", "OrvSample]:word" },
                { "get [NoSuch]Orv", "" },
                { "get NoSuch.T", "" },
            });
        }

        public static void WhatIsCalledCountsAsItIsDeclared()
        {
            Table(new string[,] {
                { "get t.Room.Len", "Length:property" },
                { "get t.History[0].CompareT", "CompareTo(:method CompareTo(:method" },
                { "get t.History.Cou", "Count:property" },
                { "get ((OrvSample.Thermostat)t).Tar", "Target:property" },
                { "get (OrvSample.Thermostat)t.Tar", "Target:property" },
                { "get ((object)t).Tar", "" },
                { "get (t).Tar", "Target:property" },
                { "invoke q.Make().Mak", "Make(:method Maker:field" },
                { "invoke q.Maker().Hidd", "Hidden:field" },
                { "invoke q.Property.Leng", "" },
                { "invoke q[0].Leng", "Length:property" },
                { "invoke q[\"a\"].MaxV", "" },
                { "invoke q.Same(1).Leng", "Length:property" },
                { "invoke q.Same(\"a\").Hidd", "Hidden:field" },
                { "invoke q.Same(\"a\", \"b\").CompareT", "CompareTo(:method CompareTo(:method" },
                { "invoke q.Same(unknown, unknown).CompareT", "CompareTo(:method CompareTo(:method" },
                { "invoke q.Same(unknown).Leng", "" },
                { "invoke q.Map(q).Hidd", "Hidden:field" },
                { "invoke q.Map<string>(null).Leng", "Length:property" },
                { "invoke System.Linq.Enumerable.ToList(new int[] {1}).AddR", "AddRange(:method" },
                { "invoke tell.Append(1).Append(2).Leng", "Length:property" },
                { "get OrvTest.Completing.Quiet.One.Hidd", "Hidden:field" },
                { "get q.Maybe.HasV", "HasValue:property" },
                { "invoke ((OrvTest.Completing.IShown)null).Sh", "Show(:method" },
                { "invoke new OrvTest.Completing.Secret().Sh", "Show(:method" },
                { "get new OrvTest.Completing.Quiet().Next.Hidd", "Hidden:field" },
                { "get new OrvTest.Completing.Quiet().Items[0].GetTyp", "GetType(:method" },
                { "get new OrvTest.Completing.Derived().C", "Changed:property Covered(:method" },
                { "get new OrvTest.Completing.Derived().Changed.CompareT", "CompareTo(:method CompareTo(:method" },
            });
        }

        public static void WhatAFieldHoldsCountsAsItIs()
        {
            Table(new string[,] {
                { "get q.Hidden.Cou", "Count:property" },
                { "get q.Next.Hidden.Cou", "Count:property" },
                { "get q.Next.Next.Hidden.Cou", "" },
                { "get q.Items[0].Leng", "Length:property" },
                { "get q.Items[1].CompareT", "CompareTo(:method CompareTo(:method" },
                { "get q.Items[2].CompareT", "" },
                { "get q.Items[3].CompareT", "" },
                { "get q.Items[0+", "" },
                { "get q.Items.Leng", "Length:property" },
                { "get q.Both.Fi", "First:field" },
            });
        }

        public static void EachCommandTakesItsOwn()
        {
            Table(new string[,] {
                { "create x", "" },
                { "create x ", "" },
                { "create ", "" },
                { "create x = ne", "new:word" },
                { "create x = new ne", "" },
                { "create x = tel", "" },
                { "create x = tru", "" },
                { "create x = t.Tar", "" },
                { "invoke te", "tell:instance" },
                { "invoke ty", "typeof:word" },
                { "invoke tru", "" },
                { "invoke wal", "walk(:word" },
                { "invoke x = wal", "walk(:word" },
                { "get wal", "" },
                { "invoke t.Raise(wal", "" },
                { "invoke t.Raise(tru", "true:word" },
                { "set t.Target = nul", "null:word" },
                { "get nul", "" },
                { "dump tel", "tell:instance" },
                { "members in", "int:word" },
                { "types in", "" },
                { "delete te", "tell:instance" },
                { "delete usi", "using:word" },
                { "delete @te", "tell:instance" },
                { "delete t te", "" },
                { "set usi", "using:word" },
                { "set using OrvS", "OrvSample:namespace" },
                { "set using System.Tex", "Text:namespace" },
                { "set using OrvSample.Mo", "" },
                { "set using x = OrvSample.Mo", "Mode:enum" },
                { "set using x = OrvS", "OrvSample.:namespace" },
                { "set t.TargetChanged += w", "watch:word" },
                { "set t.TargetChanged -= ", "watch:word" },
                { "set t.Target += w", "" },
                { "set t.TargetChanged += watch ", "" },
                { "find Tar", "" },
                { "load Orv", "" },
                { "reset t", "" },
                { "stop t", "" },
                { "instances t", "" },
                { "nothing t", "" },
                { "Tar", "" },
                { "get", "" },
                { "", "" },
            });
        }

        public static void NothingFollowsAWholeValueOrStandsInAString()
        {
            Table(new string[,] {
                { "get t.Target Tar", "" },
                { "get t.Raise(1) Tar", "" },
                { "get t.Raise(1)Tar", "" },
                { "get t ", "" },
                { "get t.Target ", "" },
                { "invoke t.Raise(5", "" },
                { "invoke t.Raise(5 ", "" },
                { "invoke t.Raise(\"t", "" },
                { "invoke t.Raise(\"\\\"t", "" },
                { "invoke t.Raise(@\"t", "" },
                { "invoke t.Raise('t", "" },
                { "invoke t.Raise(\"t\"", "" },
                { "invoke t.Raise(\"t\".Leng", "Length:property" },
                { "get t)", "" },
                { "get t).Tar", "" },
                { "get (t].Tar", "" },
                { "get t..Tar", "" },
                { "get .Tar", "" },
                { "get #", "" },
                { "get t#.Tar", "" },
                { "get ,t", "" },
                { "get = t", "" },
                { "get -t", "" },
                { "get x = y = t", "" },
            });
        }

        public static void BracesTakeWhatTheObjectHas()
        {
            Table(new string[,] {
                { "create x = OrvSample.Thermostat { Ta", "Target:property" },
                { "create x = OrvSample.Thermostat(\"a\") { Ta", "Target:property" },
                { "create x = new OrvSample.Thermostat(\"a\") { Target = 1, Mo", "Mode:property" },
                { "invoke q.Map(new OrvSample.Thermostat(\"a\") { Mo", "Mode:property" },
                { "create x = OrvSample.Thermostat(\"a\") { Mode = OrvSample.Mode.He", "Heat:field" },
                { "create x = OrvTest.Completing.Quiet { Both = { Fi", "First:field" },
                { "create x = OrvTest.Completing.Quiet { Both = { First = \"\", Se", "Second:field" },
                { "create x = OrvTest.Completing.Quiet { Next = new OrvSample.Thermostat(\"a\") { Mo", "Mode:property" },
                { "create x = OrvTest.Completing.Quiet { tel", "" },
                { "create x = OrvTest.Completing.Quiet { Next = tel", "tell:instance" },
                { "create x = System.Collections.Generic.List<object> { tel", "tell:instance" },
                { "create x = System.Collections.Generic.List<object> { t, tel", "tell:instance" },
                { "create x = object[] { tel", "tell:instance" },
                { "create x = object[tel", "tell:instance" },
                { "invoke q.Map(new object[tel", "tell:instance" },
                { "invoke q.Map({ tel", "tell:instance" },
            });
        }

        private static string HintsAt(string line)
        {
            List<string> hints = new List<string>();
            foreach (CompletionEntry entry in After(line))
            {
                if (entry.Text.Length == 0)
                    hints.Add(entry.Kind + " " + entry.Shown + " at " + entry.At);
            }
            return string.Join("; ", hints.ToArray());
        }

        public static void HintsSayWhatACallTakes()
        {
            Start();
            string[,] table = {
                { "invoke t.Raise(", "method double Raise(double degrees) at 15" },
                { "invoke t.Raise( ", "method double Raise(double degrees) at 16" },
                { "invoke t.Raise(t", "" },
                { "invoke t.Raise(1, ", "" },
                { "invoke t.Measure(1, ", "method OrvSample.Mode Measure(double temperature, out double difference) at 20" },
                { "invoke t.Measure(q.Same(1, 2), ", "method OrvSample.Mode Measure(double temperature, out double difference) at 31" },
                { "create x = OrvSample.Thermostat(", "constructor Thermostat(string room) at 32; constructor Thermostat(string room, double target) at 32" },
                { "create x = new OrvSample.Thermostat(\"a\", ", "constructor Thermostat(string room, double target) at 41" },
                { "invoke q.Map(new OrvSample.Thermostat(\"a\", ", "constructor Thermostat(string room, double target) at 43" },
                { "get t.History[", "indexer double this[int index] { get; set; } at 14" },
                { "get q[", "indexer int this[string name] { get; } at 6; indexer string this[int index] { get; } at 6" },
                { "get q.Items[", "indexer object this[int] { get; set; } at 12" },
                { "invoke q.Maker(", "method OrvTest.Completing.Quiet Invoke() at 15" },
                { "get new OrvTest.Completing.Quiet()[", "indexer int this[string name] { get; } at 35; indexer string this[int index] { get; } at 35" },
                { "invoke new OrvTest.Completing.Quiet().Map(", "method T Map<T>(T value) at 42" },
                { "create d = System.EventHandler(", "constructor EventHandler(void (object sender, System.EventArgs e) method) at 31" },
                { "create d = OrvTest.Completing.Pair(", "constructor OrvTest.Completing.Pair() at 35" },
                { "create d = OrvTest.Completing.Helpers(", "" },
                { "invoke walk(", "method walk(sequence, [int first], [int count]) at 12" },
                { "invoke OrvSample.Thermostat.ToFahrenheit(", "method static double ToFahrenheit(double celsius) at 41" },
                { "invoke nothing(", "" },
                { "invoke t.Nothing(", "" },
                { "get (", "" },
                { "get typeof(", "" },
            };
            for (int i = 0; i < table.GetLength(0); ++i)
                Harness.Equal(table[i, 1], HintsAt(table[i, 0]), table[i, 0]);
            // What can begin an argument comes along.
            Harness.True(IsOffered("invoke t.Raise(", "t") && IsOffered("invoke t.Measure(1, ", "out") && IsOffered("get q[", "tell"), "values");
            Harness.True(!IsOffered("invoke t.Raise(", "out") && !IsOffered("invoke t.Raise(", "ref"), "by value");
            Harness.Equal("degrees: :word", Offered("invoke t.Raise(deg"), "a parameter's name");
        }

        public static void AnEnumerationIsOfferedWhereItIsWanted()
        {
            Start();
            foreach (string line in new string[] { "set t.Mode = ", "create x = OrvSample.Thermostat(\"a\") { Mode = ", "create x = System.IO.FileStream(\"a\", " })
            {
                string name = line.Contains("File") ? "System.IO.FileMode.Open" : "OrvSample.Mode.Heat";
                Harness.True(IsOffered(line, name), line);
                Harness.True(!IsOffered(line, "System.DayOfWeek.Monday"), line);
            }
            Harness.True(!IsOffered("set t.Target = ", "OrvSample.Mode.Heat"), "a number");
        }

        public static void NothingOfTheUsersRuns()
        {
            Start();
            CInvoke.GetProperty("OrvTest.Completing.Runs.Count");
            string before = Bench.Printed();
            foreach (string line in new string[] {
                         "get ", "get q.", "get q.Property.", "get q.Self.Self.", "get q[0].", "get q[\"a\"].", "invoke q.Make().Make().", "invoke q.Same(",
                         "invoke q.Same(q).", "invoke q.Same(q, q).", "invoke q.Map(q.Self).", "invoke q.Maker().", "invoke q.Maker(", "set q.", "set q.Rang += ",
                         "dump q.", "members q.Property.", "get OrvTest.Completing.Untouched.", "get OrvTest.Completing.Untouched.Value.",
                         "get OrvTest.Completing.Untouched.Instance.", "invoke OrvTest.Completing.Untouched.Get(OrvTest.Completing.Untouched.Twice).",
                         "invoke OrvTest.Completing.Untouched.Twice(", "create x = OrvTest.Completing.Untouched(", "get new OrvTest.Completing.Untouched().",
                         "get q.Next.Hidden.", "get q.Items[0].", "get (-q).", "get (q | q).", "get new[] {q, q}[0].", "delete ", "set q.Property = q.Property." })
            {
                Completion.Of(Look.At, line);
                CInvoke.Invoke("OrvWorkBench.Look.Complete(\"" + line.Replace("\"", "\\\"") + "\")");
            }
            foreach (string word in new string[] { "create", "invoke", "get", "set", "delete", "dump", "members", "find", "types" })
                CInvoke.Invoke("OrvWorkBench.Look.Example(\"" + word + "\")");
            Bench.Printed();
            CInvoke.GetProperty("OrvTest.Completing.Runs.Count");
            Harness.Equal(before, Bench.Printed(), "runs");
        }

        public static void ShortNamesAndHiddenOnes()
        {
            Start();
            Bench.Do("set", "using OrvSample");
            Bench.Do("set", "using Map = System.Collections.Generic.Dictionary<string, int>");
            Harness.Equal("Thermostat:class", Offered("create x = Ther"), "by a using");
            Harness.Equal("Map:class", Offered("create x = Ma"), "an alias");
            Harness.Equal("Heat:field", Offered("get Mode.H"), "behind it");
            Harness.Equal("Map:class OrvSample:namespace", Offered("delete using "), "what ends");
            Harness.Equal("OrvSample:namespace", Offered("delete using orv"), "what ends");
            Bench.Do("set", "using System.Timers");
            Bench.Do("set", "using System.Threading");
            Harness.True(!IsOffered("create x = Time", "Timer"), "two of them");
            Harness.True(IsOffered("get Time", "TimerCallback"), "one of them");
            Bench.Do("create", "Thermostat = OrvSample.Mode()");
            Harness.Equal("Thermostat:instance", Offered("get Ther"), "an instance hides");
            Bench.Do("create", "OrvSample = OrvSample.Mode()");
            Harness.Equal("OrvSample:instance", Offered("get OrvS"), "a namespace too");
        }

        public static void ATypeOfTwoAssembliesSaysWhich()
        {
            Start();
            Bench.Load("Twin.dll");
            Harness.Equal("[TestLibrary]OrvTest.Twin:class [Twin]OrvTest.Twin:class", Offered("create x = OrvTest.Twi"), "two");
            Harness.Equal(11, After("create x = OrvTest.Twi")[0].At, "from the start of the name");
            Bench.Expect("create", "x = [Twin]OrvTest.Twin()", 8, null);
        }

        public static void InstancesShowWhatRunsNothing()
        {
            Start();
            Bench.Do("create", "number = int()");
            Bench.Do("invoke", "text = t.Room.ToUpper()");
            Bench.Do("get", "t.Target");
            List<string> shown = new List<string>();
            foreach (CompletionEntry entry in After("get "))
            {
                if (entry.Kind == "instance")
                    shown.Add(entry.Text + " " + entry.Shown);
            }
            Harness.Equal("$ double 21; number int 0; q OrvTest.Completing.Quiet; t OrvSample.Thermostat; tell System.Text.StringBuilder; text string \"KITCHEN\"",
                          string.Join("; ", shown.ToArray()), "instances");
            Harness.Equal("CompareTo(:method CompareTo(:method", Offered("get $.CompareT"), "the last result");
        }

        public static void TheEntryTellsWhereItBelongs()
        {
            Start();
            CompletionEntry entry = After("get t.tar")[0];
            Harness.Equal(6, entry.At, "at");
            Harness.Equal("Target", entry.Text, "text");
            Harness.Equal("property", entry.Kind, "kind");
            Harness.Equal("double Target { get; set; }", entry.Shown, "shown");
            Harness.Equal(6, After("get t.@tar")[0].At, "with what makes it a name");
        }

        public static void TheOrderServesTheUser()
        {
            Start();
            string all = "";
            foreach (CompletionEntry entry in After("set t.Mode = "))
            {
                if (!all.EndsWith(entry.Kind))
                    all += " " + entry.Kind;
            }
            Harness.Equal(" instance field class namespace word", all, "kinds");
            Harness.Equal(Offered("get System."), Offered("get System."), "the same again");
        }

        public static void AtMostAThousandAreListed()
        {
            Start();
            Bench.Do("create", "names = System.Collections.Generic.List<string>()");
            for (int i = 0; i < 1005; ++i)
                Look.At.Instances.Add("many" + i.ToString("0000"), Value.Constant(i));
            Bench.Printed();
            CInvoke.Invoke("OrvWorkBench.Look.Complete(\"get many\")");
            string[] lines = Bench.Printed().Split('\n');
            Harness.Equal(1001, lines.Length, "lines");
            Harness.Equal("  many0999  // int 999", lines[999], "the last one");
            Harness.Equal("  5 more fit", lines[1000], "the rest");
        }

        public static void WhatWasReadOnceIsKept()
        {
            Start();
            Harness.True(TypeTable.Of(typeof(Uri).Assembly) == TypeTable.Of(typeof(Uri).Assembly), "types");
            Harness.True(ReachableMembers.OfValue(typeof(Uri)) == ReachableMembers.OfValue(typeof(Uri)), "members");
            Harness.True(ReachableMembers.OfType(typeof(Uri)) == ReachableMembers.OfType(typeof(Uri)), "static members");
        }

        public static void ValuesAreToldAndFailNot()
        {
            Start();
            Bench.Do("get", "t.Room");
            Bench.Printed();
            string[,] table = {
                { " t.Target ", "  t.Target = 21" },
                { "t", "  t = \"kitchen at 21\"" },
                { "q.Next.Both", "  q.Next.Both = OrvTest.Completing.Pair" },
                { "t.Mode", "  t.Mode = Off (0)" },
                { "$", "  $ = \"kitchen\"" },
                { "null", "  null = null" },
                { "t.Raise(1) | 2", "  t.Raise(1) | 2 ('|' joins two values of one enumeration, two integers or two bools, not 'double' and 'int')" },
                { "t.Targe", "  t.Targe ('OrvSample.Thermostat' has no public instance property or field 'Targe')" },
                { "t.Overheat()", "  t.Overheat() (System.InvalidOperationException: The thermostat of kitchen cannot overheat.)" },
                { "t.", "  t. (expected a member's name but found the end)" },
                { "", "   (expected a value but found the end)" },
                { "OrvSample.Mode", "  OrvSample.Mode ('OrvSample.Mode' is a type, not a value)" },
            };
            for (int i = 0; i < table.GetLength(0); ++i)
            {
                Harness.Equal(10, Bench.Do("invoke", "OrvWorkBench.Look.Value(\"" + table[i, 0] + "\")"), table[i, 0]);
                string[] lines = Bench.Printed().Split('\n');
                Harness.Equal(table[i, 1], lines[lines.Length - 1], table[i, 0]);
            }
            Bench.Expect("get", "$", 5, "=> string \"kitchen\"");
        }
    }
}
