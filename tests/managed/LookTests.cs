using System;
using System.Collections.Generic;
using System.IO;
using System.Reflection;
using OrvWorkBench;

namespace OrvTest
{
    // What one may ask about types and objects.
    internal static class LookTests
    {
        private static string Asked(string question)
        {
            Bench.Do("invoke", "OrvWorkBench.Look." + question);
            return Bench.Printed();
        }

        private static void Answers(string question, string answer)
        {
            Harness.Equal(answer, Asked(question), question);
        }

        public static void APatternIsAPartOrHasStars()
        {
            foreach (string wanted in new string[] { "", "Shop.Cart", "cart", "P.C", "*", "shop.*", "*t", "Sh?p.C*t", "*.*" })
                Harness.True(new Pattern(wanted).Matches("Shop.Cart"), wanted);
            foreach (string wanted in new string[] { "x", "cart.", "*.Car", "shop", "?", "shop.?", "Shop.Cart?", "**x*" })
                Harness.Equal(wanted == "shop", new Pattern(wanted).Matches("Shop.Cart"), wanted);
            Harness.True(new Pattern("a*b*c").Matches("axxbbc"), "more than one star");
            Harness.True(!new Pattern("a*b*c").Matches("axxbbd"), "more than one star");
            Harness.True(new Pattern(null).Matches(""), "nothing");
        }

        public static void TypesAreListedWithTheirKind()
        {
            Bench.Start();
            Answers("Types(\"OrvTest.Thread*\")", "  class OrvTest.Threads\n  1 public type");
            string all = Asked("Types()");
            foreach (Type type in Assembly.LoadFrom(Path.Combine(Harness.Folder, "TestLibrary.dll")).GetExportedTypes())
                Harness.True(all.Contains("\n  " + MemberTexts.KindOf(type) + " " + TypeNames.Show(type) + "\n") ||
                                 all.StartsWith("  " + MemberTexts.KindOf(type) + " " + TypeNames.Show(type) + "\n"), type.FullName);
            Harness.True(Asked("Types(\"System.Uri\")").Contains("  class System.Uri\n"), "of the process, when none of the loaded ones matches");
            Answers("Types(\"No.Such*\")", "  0 public types");
        }

        public static void KindsAreAsCSharpNamesThem()
        {
            Harness.Equal("enum", MemberTexts.KindOf(typeof(DayOfWeek)), "enum");
            Harness.Equal("struct", MemberTexts.KindOf(typeof(int)), "struct");
            Harness.Equal("interface", MemberTexts.KindOf(typeof(IDisposable)), "interface");
            Harness.Equal("delegate", MemberTexts.KindOf(typeof(EventHandler)), "delegate");
            Harness.Equal("static class", MemberTexts.KindOf(typeof(Math)), "static class");
            Harness.Equal("abstract class", MemberTexts.KindOf(typeof(Stream)), "abstract class");
            Harness.Equal("abstract class", MemberTexts.KindOf(typeof(Delegate)), "the delegates' own base");
            Harness.Equal("class", MemberTexts.KindOf(typeof(object)), "class");
        }

        // A great library has thousands of members: only those that are found are written.
        public static void OnlyWhatIsFoundIsWrittenAndOnce()
        {
            foreach (string wanted in new string[] { "ToByte", "-> byte" })
            {
                CountedMethods counted = new CountedMethods(typeof(Convert));
                List<ShownMember> found = MemberList.DeclaredBy(counted, new MemberSearch(wanted));
                Harness.True(found.Count > 10 && found.Count < counted.All.Count / 2, wanted);
                foreach (ShownMember member in found)
                    Harness.True(member.Shown.StartsWith("static byte") && member.Shown.EndsWith(")"), member.Shown);
                foreach (CountedMethod method in counted.All)
                {
                    bool isFound = found.Exists(delegate(ShownMember member) { return member.Member == method; });
                    Harness.Equal(isFound ? 1 : 0, method.Reads, wanted + " at " + method.Name);
                }
            }
        }

        // What a type declares stands in the order of all that it has.
        public static void WhatATypeDeclaresIsPartOfWhatItHas()
        {
            foreach (Type type in new Type[] { typeof(Shape), typeof(string), typeof(IList<int>), typeof(System.IO.StreamReader), typeof(DayOfWeek) })
            {
                List<string> expected = new List<string>();
                foreach (MemberInfo member in MemberList.Of(type))
                {
                    if (member.DeclaringType == type)
                        expected.Add(MemberTexts.Show(member));
                }
                List<string> declared = new List<string>();
                foreach (ShownMember member in MemberList.DeclaredBy(type, new MemberSearch("")))
                    declared.Add(member.Shown);
                Harness.Equal(string.Join("\n", expected.ToArray()), string.Join("\n", declared.ToArray()), type.FullName);
            }
        }

        public abstract class Shape
        {
            public const int Corners = 4;
            public static readonly int Made = 1;
            public double Size = 1;
            public Shape(int a, params string[] rest) { }
            public int Width { get { return 1; } set { } }
            public int Height { get { return 1; } private set { } }
            public static int Count { set { } }
            public string this[int at, string name] { get { return ""; } }
            public event EventHandler Changed { add { } remove { } }
            public static event EventHandler Any { add { } remove { } }
            public T Find<T>(out T found, ref int at) { found = default(T); return found; }
            public static Shape operator +(Shape one, Shape other) { return one; }
            public static explicit operator int(Shape one) { return 1; }
            public virtual void Draw() { }
            public override string ToString() { return ""; }
            public class Part { }
        }

        public static void MembersAreWrittenAsCSharpDeclaresThem()
        {
            List<string> texts = new List<string>();
            foreach (MemberInfo member in MemberList.Of(typeof(Shape)))
                texts.Add(MemberTexts.Show(member));
            foreach (string text in new string[] {
                         "Shape(int a, params string[] rest)", "const int Corners", "static readonly int Made", "double Size",
                         "int Width { get; set; }", "int Height { get; }", "static int Count { set; }",
                         "string this[int at, string name] { get; }", "event System.EventHandler Changed",
                         "static event System.EventHandler Any", "T Find<T>(out T found, ref int at)", "void Draw()",
                         "string ToString()", "class OrvTest.LookTests.Shape.Part", "bool Equals(object obj)", "System.Type GetType()" })
                Harness.True(texts.Contains(text), text);
            Harness.True(texts.Exists(delegate(string text) { return text.StartsWith("static OrvTest.LookTests.Shape operator +("); }), "+");
            Harness.True(texts.Exists(delegate(string text) { return text.StartsWith("static int operator explicit("); }), "explicit");
            Harness.True(!texts.Exists(delegate(string text) { return text.Contains("get_") || text.Contains("add_"); }), "accessors");
        }

        // Every public member of every public type of whole libraries, counted and named by reflection alone.
        public static void NothingIsLeftOut()
        {
            int types = 0;
            foreach (Assembly library in new Assembly[] { typeof(object).Assembly, typeof(Uri).Assembly })
            {
                foreach (Type type in library.GetExportedTypes())
                {
                    ++types;
                    List<MemberInfo> listed = MemberList.Of(type);
                    foreach (MemberInfo member in type.GetMembers(BindingFlags.Public | BindingFlags.Instance | BindingFlags.Static | BindingFlags.FlattenHierarchy))
                    {
                        MethodInfo method = member as MethodInfo;
                        if (method != null && method.IsSpecialName && !method.Name.StartsWith("op_"))
                            continue;
                        Harness.True(listed.Contains(member), type + " " + member);
                        Harness.True(MemberTexts.Show(member).Contains(member is ConstructorInfo || member is Type || member.Name.StartsWith("op_") ? "" : "this[" != MemberTexts.Show(member) && MemberTexts.Show(member).Contains("this[") ? "this[" : member.Name), type + " " + member);
                    }
                }
            }
            Harness.True(types > 1000, "types of two libraries");
        }

        public static void MembersOfATypeAndOfAnInstance()
        {
            Bench.Start();
            Bench.Do("create", "t = OrvTest.Threads()");
            Bench.Printed();
            string ofType = Asked("Members(\"OrvTest.Threads\", \"Fail\")");
            Harness.Equal("  class OrvTest.Threads\n  static void Fail()\n  1 public member", ofType, "a type's");
            Harness.Equal(ofType, Asked("Members(\"t\", \"Fail\")"), "an instance's");
            Harness.True(Asked("Members(\"t\")").Contains("  string ToString()  // from object\n"), "inherited");
            Harness.True(Asked("Members(\"System.Collections.Generic.List<int>\", \"Add\")").Contains("  void Add(int item)\n"), "closed");
            Bench.Expect("invoke", "OrvWorkBench.Look.Members(\"No.Such\")", 1, "error: there is no instance and no type 'No'");
            Bench.Expect("invoke", "OrvWorkBench.Look.Members(\"t +\")", 1, null);
            Bench.Expect("invoke", "OrvWorkBench.Look.Members(\"null\")", 1, "error: null has no members");
            Bench.Expect("invoke", "OrvWorkBench.Look.Members(\"(object)null\")", 10, "  class object");
            Bench.Expect("invoke", "OrvWorkBench.Look.Members(\"OrvTest.Box<T>.Lid<U>\")", 10, "  class OrvTest.Box<T>.Lid<U>");
            Bench.Expect("invoke", "OrvWorkBench.Look.Members(\"void\")", 10, "  struct void");
            Bench.Do("create", "void = string('x', 2)");
            Bench.Printed();
            Bench.Expect("invoke", "OrvWorkBench.Look.Members(\"void\", \"Length\")", 10, null);
        }

        public static void FindLooksForNamesAndForWhatIsTakenAndGiven()
        {
            Bench.Start();
            Harness.True(Asked("Find(\"Fail\")").Contains("  static void Fail()  // of OrvTest.Threads\n"), "by name");
            Harness.True(new MemberSearch("-> int").Matches(typeof(string).GetProperty("Length")), "given");
            Harness.True(!new MemberSearch("int ->").Matches(typeof(string).GetProperty("Length")), "it takes none");
            Harness.True(new MemberSearch("char -> int").Matches(typeof(string).GetMethod("IndexOf", new Type[] { typeof(char) })), "both");
            Harness.True(new MemberSearch("Uri").Matches(typeof(Uri).GetConstructor(new Type[] { typeof(string) })) == false, "a constructor's name");
            Harness.True(new MemberSearch("string -> Uri").Matches(typeof(Uri).GetConstructor(new Type[] { typeof(string) })), "what it makes");
            Harness.True(new MemberSearch("-> System.Uri").Matches(typeof(Uri).GetConstructor(new Type[] { typeof(string) })), "with its namespace");
            foreach (string wanted in new string[] { "-> *ri", "-> U?i", "-> *Uri", "-> system.uri", "* -> Uri", "-> Uri*", "-> uri" })
                Harness.True(new MemberSearch(wanted).Matches(typeof(Uri).GetConstructor(new Type[] { typeof(string) })), wanted);
            foreach (string wanted in new string[] { "-> *Ur", "-> ?ri.", "-> ri", "-> *.U", "int -> Uri", "-> Uri<" })
                Harness.True(!new MemberSearch(wanted).Matches(typeof(Uri).GetConstructor(new Type[] { typeof(string) })), wanted);
            Harness.True(!new MemberSearch("->").Matches(typeof(Uri).GetNestedTypes().Length > 0 ? null : typeof(Uri)), "types give nothing");
        }

        public static void InstancesAreListedByName()
        {
            Bench.Start();
            Answers("Instances()", "  0 instances");
            Bench.Do("create", "s = string('x', 2)");
            Bench.Do("create", "a = OrvTest.Holder()");
            Bench.Printed();
            Answers("Instances()", "  a = OrvTest.Holder\n  s = string \"xx\"\n  2 instances");
        }

        public static void ALookChangesNothing()
        {
            Bench.Start();
            Bench.Do("create", "s = string('x', 2)");
            Bench.Do("get", "s.Length");
            Bench.Printed();
            Asked("Types()");
            Asked("Dump(\"s\")");
            Harness.True(Look.WasAsked, "no debugger stops behind it");
            Bench.Expect("get", "$", 5, "=> int 2");
            Harness.True(!Look.WasAsked, "behind this one it does");
        }

        public static void OnlyTheQuestionsAreInReach()
        {
            Bench.Start();
            Bench.Expect("invoke", "OrvWorkBench.CInvoke.Reset(\"\")", 12, null);
            Bench.Expect("create", "x = OrvWorkBench.Look()", 3, null);
            Bench.Expect("get", "OrvWorkBench.Look.At", 4, null);
            Bench.Expect("invoke", "OrvWorkBench.Look.GetType()", 1, null);
        }

        private static string Dumped(object value, int depth, int first)
        {
            Bench.Printed();
            new ObjectDump(depth, first).Show("t", value, null);
            return Bench.Printed();
        }

        public static void ADumpShowsFieldsAndPropertiesToItsDepth()
        {
            Bench.Start();
            Tree tree = new Tree();
            tree.Left = new Tree();
            tree.Left.Right = tree;
            tree.Ages["Ann"] = 30;
            string text = Dumped(tree, 1, 0);
            Harness.Equal("  t = OrvTest.Tree\n" +
                              "    Ages = System.Collections.Generic.Dictionary<string, int> (1)\n" +
                              "    Left = OrvTest.Tree ...\n" +
                              "    Name = string \"root\"\n" +
                              "    Numbers = int[] (25)\n" +
                              "    Broken (raised System.InvalidOperationException: why)\n" +
                              "    Right = OrvTest.Tree null", text, "depth 1");
            text = Dumped(tree, 2, 0);
            Harness.True(text.Contains("\n      [\"Ann\"] = int 30\n"), "a dictionary's entry");
            Harness.True(text.Contains("\n      Right = OrvTest.Tree (t)"), "a circle ends");
            Harness.True(text.Contains("\n      [19] = int 0\n      more: dump t.Numbers 2 20\n"), "a page");
            Harness.True(!text.Contains("Shared"), "of the object, not its class");
            Harness.Equal("  t = OrvTest.Tree ...", Dumped(tree, 0, 0), "depth 0");
        }

        public static void AnOverrideOfOneAccessorHasBoth()
        {
            Bench.Start();
            Answers("Members(\"OrvTest.Setting\", \"Both\")", "  class OrvTest.Setting : OrvTest.Plain\n  int Both { get; set; }\n  1 public member");
            Answers("Members(\"OrvTest.Fancy\", \"Both\")", "  class OrvTest.Fancy : OrvTest.Plain\n  int Both { get; set; }\n  1 public member");
            Harness.True(new MemberSearch("-> int").Matches(typeof(Setting).GetProperty("Both")), "given");
            Harness.True(new MemberSearch("int ->").Matches(typeof(Fancy).GetProperty("Both")), "taken");
            Setting setting = new Setting();
            setting.Both = 3;
            Harness.True(Dumped(setting, 1, 0).Contains("\n    Both = int 6"), "read");
        }

        public static void ADumpOfACollectionGoesOnWhereItIsTold()
        {
            Bench.Start();
            int[] numbers = new int[45];
            for (int i = 0; i < numbers.Length; ++i)
                numbers[i] = i;
            Harness.True(Dumped(numbers, 1, 20).StartsWith("  t = int[] (45)\n    [20] = int 20\n"), "from 20 on");
            Harness.True(Dumped(numbers, 1, 20).EndsWith("    [39] = int 39\n    more: dump t 1 40"), "a page");
            Harness.Equal("  t = int[] (45)\n    [44] = int 44", Dumped(numbers, 1, 44), "to the end");
        }

        public static void ADumpOfASimpleValueIsTheValue()
        {
            Bench.Start();
            Harness.Equal("  t = int 5", Dumped(5, 2, 0), "number");
            Harness.Equal("  t = null", Dumped(null, 2, 0), "null");
            Harness.Equal("  t = string \"x\"", Dumped("x", 2, 0), "string");
            Harness.Equal("  t = System.Type int", Dumped(typeof(int), 2, 0), "type");
            Bench.Expect("invoke", "OrvWorkBench.Look.Dump(\"OrvTest.Threads\")", 1, "error: 'OrvTest.Threads' is a type, not a value");
        }
    }
}
