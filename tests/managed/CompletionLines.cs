using System.Collections.Generic;
using OrvWorkBench;

namespace OrvTest
{
    // Command lines up to a cursor, and what is offered there: "text:kind" of each entry; of hints kind, text and place.
    // There are t, a thermostat of the sample, q, an OrvTest.Completing.Quiet, and tell, a StringBuilder.
    internal static class CompletionLines
    {
        // Makes them, in a session that knows nothing else.
        public static void Start()
        {
            Bench.Start();
            Bench.Load("../../bin/OrvSample.dll");
            CInvoke.CreateType("t = OrvSample.Thermostat(\"kitchen\", 21)");
            CInvoke.CreateType("q = OrvTest.Completing.Quiet { Next = new OrvTest.Completing.Quiet() }");
            CInvoke.CreateType("tell = System.Text.StringBuilder(\"abc\")");
            Bench.Printed();
        }

        public static readonly string[,] OfValues = {
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
        };

        public static readonly string[,] OfTypes = {
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
        };

        public static readonly string[,] OfNamespaces = {
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
        };

        public static readonly string[,] OfCalls = {
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
        };

        public static readonly string[,] OfFields = {
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
        };

        public static readonly string[,] OfCommands = {
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
            { "set t.TargetChanged ", "+= watch:word" },
            { "set t.TargetChanged", "TargetChanged:event" },
            { "set t.Target ", "" },
            { "set t.Target += w", "" },
            { "set t.TargetChanged += watch ", "" },
            { "load Orv", "" },
            { "reset t", "" },
            { "stop t", "" },
            { "instances t", "" },
            { "nothing t", "" },
            { "Tar", "" },
            { "get", "" },
            { "", "" },
        };

        // Behind the value or the type, and in a pattern.
        public static readonly string[,] OfQuestions = {
            { "members t Rai", "Raise:method" },
            { "Members t  TARG", "Target:property TargetChanged:event" },
            { "members OrvSample.Thermostat Lo", "Lowest:field" },
            { "members q.Next Only", "OnlyWritten:property" },
            { "members q[\"a b\"] ToSt", "ToString:method ToString:method ToString:method ToString:method" },
            { "members t.History[ 0 ] CompareT", "CompareTo:method CompareTo:method" },
            { "members System.Collections.Generic.Dictionary<int, string> Compa", "Comparer:property" },
            { "members OrvTest.Box<T>.Lid<U> Equ", "Equals:method Equals:method" },
            { "members int MaxV", "MaxValue:field" },
            { "members \"a b\" Leng", "Length:property" },
            { "members OrvSample.Mode He", "Heat:field" },
            { "members nothing T", "" },
            { "members OrvSample T", "" },
            { "members null T", "" },
            { "members t. Tar", "" },
            { "members t Raise ", "" },
            { "members t Raise Ra", "" },
            { "members t *Rai", "" },
            { "members t Ra?", "" },
            { "dump t ", "?[depth]  how deep, 2 without it" },
            { "dump q[\"a b\"] ", "?[depth]  how deep, 2 without it" },
            { "dump t 1", "" },
            { "dump t 1 ", "?[first]  of a collection, which element is the first" },
            { "dump t x ", "" },
            { "dump t 1 20", "" },
            { "dump t 1 20 ", "" },
            { "dump t t", "" },
            { "dump t.Raise(1, tel", "tell:instance" },
            { "find Overh", "Overheat:method" },
            { "find oVERH", "Overheat:method" },
            { "find OrvSample.M", "Mode:enum" },
            { "find ulon", "ulong:word" },
            { "find -> OrvSample.M", "Mode:enum" },
            { "find string ->OrvS", "OrvSample.:namespace" },
            { "find ->doub", "double:word" },
            { "find -> Overh", "" },
            { "find string ", "->:word" },
            { "find string -> int ", "" },
            { "find Overh*", "" },
            { "GET t.Tar", "Target:property" },
        };

        public static readonly string[,] OfNothing = {
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
        };

        public static readonly string[,] OfBraces = {
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
        };

        public static readonly string[,] OfHints = {
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

        // The lines alone.
        public static List<string> All
        {
            get
            {
                List<string> all = new List<string>();
                foreach (string[,] table in new string[][,] { OfValues, OfTypes, OfNamespaces, OfCalls, OfFields, OfCommands, OfQuestions, OfNothing, OfBraces, OfHints })
                {
                    for (int i = 0; i < table.GetLength(0); ++i)
                        all.Add(table[i, 0]);
                }
                return all;
            }
        }
    }
}
