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

        private static void Table(string[,] table)
        {
            CompletionLines.Start();
            for (int i = 0; i < table.GetLength(0); ++i)
                Harness.Equal(table[i, 1], Offered(table[i, 0]), table[i, 0]);
        }

        public static void AValueOffersItsMembers()
        {
            Table(CompletionLines.OfValues);
        }

        public static void ATypeOffersWhatIsStatic()
        {
            Table(CompletionLines.OfTypes);
        }

        public static void ANamespaceOffersTypesAndNamespaces()
        {
            Table(CompletionLines.OfNamespaces);
        }

        public static void WhatIsCalledCountsAsItIsDeclared()
        {
            Table(CompletionLines.OfCalls);
        }

        public static void WhatAFieldHoldsCountsAsItIs()
        {
            Table(CompletionLines.OfFields);
        }

        public static void EachCommandTakesItsOwn()
        {
            Table(CompletionLines.OfCommands);
        }

        public static void QuestionsTakeMoreThanTheFirstWord()
        {
            Table(CompletionLines.OfQuestions);
            Harness.True(IsOffered("find ", "->") && IsOffered("find ", "OrvSample.") && !IsOffered("find ", "Overheat"), "a pattern's start");
            Harness.True(IsOffered("members t ", "Mode") && !IsOffered("members t ", ".ctor"), "any member");
            Harness.True(IsOffered("find -> ", "double") && !IsOffered("find -> ", "->"), "what is given");
            Harness.Equal("double Raise(double degrees)", After("members t Rai")[0].Shown, "a signature");
            Harness.Equal("void Overheat()  // of OrvSample.Thermostat", After("find Overh")[0].Shown, "with its class");
            Harness.Equal("10 11", After("members t Rai")[0].At + " " + After("find  ->   OrvS")[0].At, "places");
        }

        public static void NothingFollowsAWholeValueOrStandsInAString()
        {
            Table(CompletionLines.OfNothing);
        }

        public static void BracesTakeWhatTheObjectHas()
        {
            Table(CompletionLines.OfBraces);
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
            CompletionLines.Start();
            string[,] table = CompletionLines.OfHints;
            for (int i = 0; i < table.GetLength(0); ++i)
                Harness.Equal(table[i, 1], HintsAt(table[i, 0]), table[i, 0]);
            // What can begin an argument comes along.
            Harness.True(IsOffered("invoke t.Raise(", "t") && IsOffered("invoke t.Measure(1, ", "out") && IsOffered("get q[", "tell"), "values");
            Harness.True(!IsOffered("invoke t.Raise(", "out") && !IsOffered("invoke t.Raise(", "ref"), "by value");
            Harness.Equal("degrees: :word", Offered("invoke t.Raise(deg"), "a parameter's name");
        }

        public static void AnEnumerationIsOfferedWhereItIsWanted()
        {
            CompletionLines.Start();
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
            CompletionLines.Start();
            CInvoke.GetProperty("OrvTest.Completing.Runs.Count");
            string before = Bench.Printed();
            foreach (string line in new string[] {
                         "get ", "get q.", "get q.Property.", "get q.Self.Self.", "get q[0].", "get q[\"a\"].", "invoke q.Make().Make().", "invoke q.Same(",
                         "invoke q.Same(q).", "invoke q.Same(q, q).", "invoke q.Map(q.Self).", "invoke q.Maker().", "invoke q.Maker(", "set q.", "set q.Rang += ",
                         "dump q.", "members q.Property.", "members q.Property ", "members q.Make() ", "members OrvTest.Completing.Untouched.Value ", "find Same", "dump q.Property ", "get OrvTest.Completing.Untouched.", "get OrvTest.Completing.Untouched.Value.",
                         "get OrvTest.Completing.Untouched.Instance.", "invoke OrvTest.Completing.Untouched.Get(OrvTest.Completing.Untouched.Numbered).",
                         "invoke OrvTest.Completing.Untouched.Numbered(", "create x = OrvTest.Completing.Untouched(", "get new OrvTest.Completing.Untouched().",
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
            CompletionLines.Start();
            Bench.Do("set", "using OrvSample");
            Bench.Do("set", "using Map = System.Collections.Generic.Dictionary<string, int>");
            Harness.Equal("Thermostat:class", Offered("create x = Ther"), "by a using");
            Harness.Equal("Map:class", Offered("create x = Ma"), "an alias");
            Harness.Equal("Heat:field", Offered("get Mode.H"), "behind it");
            Harness.Equal("Map:class OrvSample:namespace", Offered("delete using "), "what ends");
            Harness.Equal("OrvSample:namespace", Offered("delete using orv"), "what ends");
            Bench.Do("set", "using System.Timers");
            Bench.Do("set", "using System.Threading");
            Harness.Equal("System.Threading:namespace System.Timers:namespace", Offered("delete using sys"), "their whole names");
            Harness.Equal("System.Timers:namespace", Offered("delete using System.Ti"), "their whole names");
            Harness.Equal(13, After("delete using System.Ti")[0].At, "from the start of the name");
            Harness.True(!IsOffered("create x = Time", "Timer"), "two of them");
            Harness.True(IsOffered("get Time", "TimerCallback"), "one of them");
            Bench.Do("create", "Thermostat = OrvSample.Mode()");
            Harness.Equal("Thermostat:instance", Offered("get Ther"), "an instance hides");
            Bench.Do("create", "OrvSample = OrvSample.Mode()");
            Harness.Equal("OrvSample:instance", Offered("get OrvS"), "a namespace too");
        }

        public static void WhatCannotBeLoadedIsNoFailure()
        {
            CompletionLines.Start();
            Bench.Load("orphan/Orphan.dll");
            foreach (string line in new string[] { "create x = OrvTest.", "get OrvTest.Dep", "get OrvTest.DerivedFromHelper.", "create x = OrvTest.DerivedFromHelper(",
                                                   "get new OrvTest.Dependent().", "invoke ((OrvTest.DerivedFromHelper)null).", "types OrvTest.D" })
                Completion.Of(Look.At, line);
            Harness.Equal("Value:field", Offered("get new [Orphan]OrvTest.Independent().Val"), "what can be");
            Harness.True(IsOffered("create x = OrvTest.Inde", "Independent"), "a type that can be");
        }

        public static void TheDispatcherStaysOutOfReach()
        {
            CompletionLines.Start();
            Bench.Do("invoke", "own = System.Type.GetType(\"OrvWorkBench.CInvoke, DispatcherTest\")");
            Bench.Do("invoke", "kept = System.Collections.ArrayList.Repeat(own, 1)");
            Bench.Printed();
            foreach (string line in new string[] { "get own.", "get OrvWorkBench.", "get OrvWorkBench.CInvoke.", "get [DispatcherTest]", "types OrvW", "get OrvW" })
                Harness.Equal("", Offered(line).Replace("own:instance", ""), line);
            Harness.Equal("", HintsAt("invoke own.GetMethod("), "its members");
            Harness.Equal("", Offered("members own GetM") + Offered("members OrvWorkBench.CInvoke Inv"), "its members by a pattern");
            Harness.True(!IsOffered("get [", "DispatcherTest]"), "its assembly");
        }

        public static void ATypeOfTwoAssembliesSaysWhich()
        {
            CompletionLines.Start();
            Bench.Load("Twin.dll");
            Harness.Equal("[TestLibrary]OrvTest.Twin:class [Twin]OrvTest.Twin:class", Offered("create x = OrvTest.Twi"), "two");
            Harness.Equal(11, After("create x = OrvTest.Twi")[0].At, "from the start of the name");
            Bench.Expect("create", "x = [Twin]OrvTest.Twin()", 8, null);
        }

        public static void InstancesShowWhatRunsNothing()
        {
            CompletionLines.Start();
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
            Bench.Do("invoke", "walk(new object[] { new int[20] })");
            Bench.Printed();
            Harness.Equal("Length:property", Offered("get $1.Leng"), "what was cut off");
            Harness.Equal("", Offered("get $2.Leng") + Offered("get $1") + Offered("get $1 L"), "what was not");
        }

        public static void TheEntryTellsWhereItBelongs()
        {
            CompletionLines.Start();
            CompletionEntry entry = After("get t.tar")[0];
            Harness.Equal(6, entry.At, "at");
            Harness.Equal("Target", entry.Text, "text");
            Harness.Equal("property", entry.Kind, "kind");
            Harness.Equal("double Target { get; set; }", entry.Shown, "shown");
            Harness.Equal(6, After("get t.@tar")[0].At, "with what makes it a name");
        }

        public static void TheOrderServesTheUser()
        {
            CompletionLines.Start();
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
            CompletionLines.Start();
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

        public static void OverloadsAreThoseOfTheBinding()
        {
            foreach (Type type in new Type[] { typeof(string), typeof(Uri), typeof(List<int>), typeof(IList<int>), typeof(DateTime), typeof(int?), typeof(int[]),
                                               typeof(Type), typeof(EventHandler), typeof(System.Collections.IDictionary), typeof(StringWriter) })
            {
                Dictionary<string, int> counts = new Dictionary<string, int>();
                foreach (ShownMember member in ReachableMembers.OfValue(type))
                {
                    if (!(member.Member is MethodInfo))
                        continue;
                    int count;
                    counts.TryGetValue(member.Member.Name, out count);
                    counts[member.Member.Name] = count + 1;
                    Harness.True(Members.FindMethods(type, member.Member.Name, Node.InstanceMembers).Contains((MethodInfo)member.Member), type + " " + member.Member);
                }
                foreach (string name in counts.Keys)
                    Harness.Equal(Members.FindMethods(type, name, Node.InstanceMembers).Count, counts[name], type + " " + name);
                Harness.True(counts.Count > 3, type.Name);
            }
        }

        public static void WhatWasReadOnceIsKept()
        {
            CompletionLines.Start();
            Harness.True(TypeTable.Of(typeof(Uri).Assembly) == TypeTable.Of(typeof(Uri).Assembly), "types");
            Harness.True(ReachableMembers.OfValue(typeof(Uri)) == ReachableMembers.OfValue(typeof(Uri)), "members");
            Harness.True(ReachableMembers.OfType(typeof(Uri)) == ReachableMembers.OfType(typeof(Uri)), "static members");
        }

        public static void ValuesAreToldAndFailNot()
        {
            CompletionLines.Start();
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
