using System;
using System.Collections.Generic;
using System.Diagnostics;
using System.Globalization;
using System.Reflection;
using System.Threading;

namespace OrvWorkBench
{
    // What one may ask about types and objects, by the commands that there are: invoke OrvWorkBench.Look.Types("Crc").
    // Each question prints a list, keeps nothing as the last result, and is no command at whose end a debugger stops.
    public static class Look
    {
        private const int c_usualDepth = 2;
        private const int c_pauseMs = 20;

        private static Surroundings s_at;
        private static bool s_wasAsked;

        // The public types whose names match; of the assemblies that were loaded, or of all in the process and the usual
        // libraries when none of those matches. A pattern has * for any characters and ? for one; without them a part of the name will do.
        public static void Types(string pattern)
        {
            Begin();
            Pattern wanted = new Pattern(pattern);
            Listing list = new Listing();
            AddTypes(list, At.Assemblies.Loaded, wanted);
            if (list.Count == 0)
            {
                FrameworkLibraries.GetUsual();
                AddTypes(list, At.Assemblies.InSearchOrder(), wanted);
            }
            list.End("public type", "public types");
        }

        // All public types of the assemblies that were loaded.
        public static void Types()
        {
            Types("");
        }

        // The public members of a type, or of what an expression gives, whose names match.
        public static void Members(string subject, string pattern)
        {
            Begin();
            Type type = At.TypeOf(subject);
            MemberSearch wanted = new MemberSearch(pattern);
            Output.Line("  " + MemberTexts.KindOf(type) + " " + TypeNames.Show(type) + Bases(type));
            Listing list = new Listing();
            foreach (MemberInfo member in MemberList.Of(type))
            {
                if (wanted.Matches(member))
                    AddMember(list, new ShownMember(member),
                              member.DeclaringType == type || member is Type ? "" : " from " + TypeNames.Show(member.DeclaringType));
            }
            list.End("public member", "public members");
        }

        // All of them.
        public static void Members(string subject)
        {
            Members(subject, "");
        }

        // What was made and not forgotten.
        public static void Instances()
        {
            Begin();
            Listing list = new Listing();
            foreach (string name in At.Instances.Names)
            {
                Value value = At.Instances.Get(name);
                ShownValue shown = Formatter.ShowWhole(value.Data, value.Type);
                list.Add(name + " = " + shown.Text, "name", name, "type", shown.Type, "text", shown.Value);
            }
            list.End("instance", "instances");
        }

        // Members of the loaded assemblies' public types: by name, or by what they take and give, "string -> double".
        public static void Find(string pattern)
        {
            Begin();
            MemberSearch wanted = new MemberSearch(pattern);
            Listing list = new Listing();
            foreach (Assembly assembly in At.Assemblies.Loaded)
            {
                foreach (Type type in Sorted(assembly))
                {
                    foreach (ShownMember member in MemberList.DeclaredBy(type, wanted))
                        AddMember(list, member, member.Member is Type ? "" : " of " + TypeNames.Show(type));
                }
            }
            list.End("member", "members");
        }

        // What an expression gives, with public fields and properties, to that depth; of a collection the elements from
        // the first on.
        public static void Dump(string expression, int depth, int first)
        {
            Begin();
            Value value = At.ValueOf(expression);
            new ObjectDump(Math.Max(0, depth), Math.Max(0, first)).Show(expression.Trim(), value.Data, value.Type);
        }

        public static void Dump(string expression, int depth)
        {
            Dump(expression, depth, 0);
        }

        public static void Dump(string expression)
        {
            Dump(expression, c_usualDepth, 0);
        }

        // How to go on at the end of a command line: "get t.Tar". For each way where in the line its text belongs, the
        // text, what it is, and what to show of it. Nothing of the user's is run.
        public static void Complete(string line)
        {
            Begin();
            CompletionList list = null;
            Guard.Run(delegate() { list = Completion.Of(At, line ?? ""); });
            if (list != null)
                list.Print();
        }

        // Up to three command lines with that word that can be given as things are now.
        public static void Example(string word)
        {
            Begin();
            IList<string> lines = new string[0];
            Guard.Run(delegate() { lines = Examples.Of(At, (word ?? "").Trim()); });
            Listing list = new Listing();
            foreach (string line in lines)
                list.Add(line, "text", line);
        }

        // What an expression gives now; or why it gives nothing, which is no failure.
        public static void Value(string expression)
        {
            Begin();
            CurrentValue.Print(At, (expression ?? "").Trim());
        }

        // Returns when a debugger is attached, or after that many seconds; without a number it waits for ever.
        public static void AwaitDebugger(string seconds)
        {
            Begin();
            ulong limit;
            if (!ulong.TryParse(seconds ?? "", NumberStyles.None, CultureInfo.InvariantCulture, out limit))
                limit = ulong.MaxValue;
            for (ulong waited = 0; !Debugger.IsAttached && waited / 1000 < limit; waited += c_pauseMs)
                Thread.Sleep(c_pauseMs);
        }

        internal static Surroundings At
        {
            get { return s_at; }
            set { s_at = value; }
        }

        // Whether the last command asked something.
        internal static bool WasAsked
        {
            get { return s_wasAsked; }
            set { s_wasAsked = value; }
        }

        private static void Begin()
        {
            if (s_at == null)
                throw new InvalidOperationException("there is no command");
            s_wasAsked = true;
        }

        private static void AddTypes(Listing list, IEnumerable<Assembly> assemblies, Pattern wanted)
        {
            foreach (Assembly assembly in assemblies)
            {
                foreach (Type type in Sorted(assembly))
                {
                    string name = TypeNames.Show(type);
                    if (wanted.Matches(name))
                        list.Add(MemberTexts.KindOf(type) + " " + name,
                                 "kind", MemberTexts.KindOf(type), "name", name, "assembly", assembly.GetName().Name);
                }
            }
        }

        private static List<Type> Sorted(Assembly assembly)
        {
            List<Type> types = new List<Type>(TypeFinder.PublicTypes(assembly));
            Dictionary<Type, string> names = new Dictionary<Type, string>();
            foreach (Type type in types)
                names[type] = TypeNames.Show(type);
            types.Sort(delegate(Type one, Type other) { return string.CompareOrdinal(names[one], names[other]); });
            return types;
        }

        private static void AddMember(Listing list, ShownMember shown, string origin)
        {
            MemberInfo member = shown.Member;
            list.Add(shown.Shown + (origin.Length > 0 ? "  //" + origin : ""), "kind", MemberTexts.KindOf(member), "name", member.Name,
                     "signature", shown.Shown, "from", TypeNames.Show(member.DeclaringType));
        }

        // " : Base, IFirst, ISecond", as C# declares it; what every class has is left out.
        private static string Bases(Type type)
        {
            List<string> names = new List<string>();
            if (type.BaseType != null && type.BaseType != typeof(object) && !type.IsValueType)
                names.Add(TypeNames.Show(type.BaseType));
            foreach (Type implemented in type.GetInterfaces())
                names.Add(TypeNames.Show(implemented));
            return names.Count == 0 || type.IsEnum ? "" : " : " + string.Join(", ", names.ToArray());
        }
    }
}
