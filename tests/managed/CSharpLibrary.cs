using System;
using System.Collections;
using System.Collections.Generic;

namespace OrvTest
{
    // What the expressions that are given to a C# compiler, and to the dispatcher, use.
    public static class Probe
    {
        public static object Value(object value) { return value; }
        public static string TypeOf<T>(T value) { return typeof(T).ToString(); }
        public static string Two<T, U>(T a, U b) { return typeof(T) + "," + typeof(U); }
        public static string Specific<T>(T a) { return "T"; }
        public static string Specific<T>(T[] a) { return "T[]"; }
        public static string Specific<T>(List<T> a) { return "List<T>"; }
        public static U Mapped<T, U>(T value, Converter<T, U> map) { return map(value); }
        public static string Takes(Converter<int, string> map) { return map(7); }
        public static string Runs(Action<int> action) { action(3); return "ran"; }
        public static string Chosen(Converter<int, string> map) { return "string"; }
        public static string Chosen(Predicate<string> test) { return "test"; }
        public static int Double(int a) { return a * 2; }
        public static double Double(double a) { return a * 2; }
        public static string Text(int a) { return "<" + a + ">"; }
        public static void Nothing(int a) { }
        public static int Sum(params int[] numbers) { int sum = 0; foreach (int number in numbers) sum += number; return sum; }
        public static string Named(int a, string b, double c) { return a + b + c.ToString(System.Globalization.CultureInfo.InvariantCulture); }
        public static string Named(int a, int d) { return "a" + a + "d" + d; }
        public static string Rest(int first, params string[] rest) { return first + ":" + (rest == null ? "null" : string.Join("+", rest)); }
        public static string Objects(params object[] values) { return values == null ? "null" : values.Length.ToString(); }
        public static string Big(ulong a) { return "ulong"; }
        public static string Byte(byte a) { return "byte"; }
        public static string Bytes(params byte[] a) { return a.Length.ToString(); }
        public static string Maybe(int? a) { return a.HasValue ? a.Value.ToString() : "none"; }
        public static string MaybeOr(int? a) { return "int?"; }
        public static string MaybeOr(object a) { return "object"; }
        public static string Enumerated(Color a) { return a.ToString(); }
        public static string Shown(IEnumerable<object> a) { return "objects"; }
        public static string Uints(IList<uint> a) { return "uints"; }
        public static string Worth(Money a) { return a == null ? "none" : "money " + a.Cents; }
        public static string Units(Length a) { return "length " + a.Meters; }
        public static string Reference(ref int a) { a += 1; return "int"; }
        public const int Five = 5;
        public const string Word = "word";
        public static readonly int Six = 6;
    }

    public class Choice<T>
    {
        public string Put(T a) { return "T"; }
        public string Put(int a) { return "int"; }
        public string All(params T[] a) { return "T[]"; }
        public string All(params int[] a) { return "int[]"; }
    }

    public static class Defaults
    {
        public static string All(int a = 1, string b = "x", int? c = 4, decimal d = 1.5m)
        {
            return a + b + c + d.ToString(System.Globalization.CultureInfo.InvariantCulture);
        }

        // Not every compiler can use this one.
        public static string Enumerated(Color? color = Color.Green) { return color.ToString(); }
        public static string Either(int a) { return "one"; }
        public static string Either(int a, int b = 2) { return "two"; }
        public static string Open(int a = 1, params int[] rest) { return a + "," + rest.Length; }
    }

    public class Money
    {
        public readonly int Cents;
        public Money(int cents) { Cents = cents; }
        public static implicit operator Money(string text) { return text == null ? new Money(-1) : new Money(text.Length); }
        public static implicit operator Money(long cents) { return new Money((int)cents); }
        public static explicit operator int(Money money) { return money.Cents; }
        public static Money operator -(Money money) { return new Money(-money.Cents); }
        public static Money operator |(Money one, Money other) { return new Money(one.Cents | other.Cents); }
        public override string ToString() { return Cents + " cents"; }
    }

    // An operator of each kind, each with a result of its own.
    public class Signs
    {
        private readonly int m_number;
        public Signs(int number) { m_number = number; }
        public static Signs operator -(Signs signs) { return new Signs(-signs.m_number); }
        public static string operator +(Signs signs) { return "+" + signs; }
        public static bool operator !(Signs signs) { return signs.m_number == 0; }
        public static int operator ~(Signs signs) { return ~signs.m_number; }
        public static string operator |(Signs signs, bool other) { return signs + "|" + other; }
        public override string ToString() { return m_number.ToString(System.Globalization.CultureInfo.InvariantCulture); }
    }

    public struct Length
    {
        public double Meters;
        public Length(double meters) { Meters = meters; }
        public static implicit operator Length(double meters) { return new Length(meters); }
        public static explicit operator double(Length length) { return length.Meters; }
        public override string ToString() { return Meters.ToString(System.Globalization.CultureInfo.InvariantCulture) + " m"; }
    }

    // Its conversion raises.
    public class Raising
    {
        public static explicit operator Raising(int number) { throw new InvalidOperationException("converted"); }
    }

    public abstract class Plain
    {
        private int m_both;
        public virtual int Both { get { return m_both; } set { m_both = value; } }
        public virtual int this[int index] { get { return index; } set { m_both = index + value; } }
        public virtual int this[string key] { get { return key.Length; } }
        public virtual event EventHandler Changed;
        public string Name = "plain";
        public string Twice() { return "Plain.Twice"; }
        public string Hidden() { return "Plain.Hidden"; }
        public int Number = 1;
        public virtual string Generic<T>(T a) { return "Plain"; }
        public string Show() { return "Plain.Show()"; }
        public string Taken(int a) { return "Plain int"; }
        public string Taken(Dictionary<int, int> a) { return "Plain map"; }
        public string Taken(List<int> a) { return "Plain list"; }
        public void Raise() { if (Changed != null) Changed(this, EventArgs.Empty); }
    }

    public class Fancy : Plain
    {
        private int m_set;
        // One accessor of two.
        public override int Both { get { return 10 * base.Both; } }
        public override int this[int index] { get { return 100 + index; } }
        public int this[long index] { get { return -1; } }
        public override event EventHandler Changed { add { base.Changed += value; } remove { base.Changed -= value; } }
        public new int Name { get { return m_set; } set { m_set = value; } }
        public new string Hidden() { return "Fancy.Hidden"; }
        public new string Taken(List<int> a) { return "Fancy list"; }
        public string Taken(List<string> a) { return "Fancy strings"; }
        public new string Number() { return "Fancy.Number()"; }
        public override string Generic<T>(T a) { return "Fancy"; }
        public new Converter<int, int> Twice = Probe.Double;
        public new int Show = 5;
    }

    // The other accessor of two.
    public class Setting : Plain
    {
        public override int Both { set { base.Both = 2 * value; } }
    }

    public struct Counter
    {
        public int Count;
        public int Next() { return ++Count; }
    }

    // A structure in a structure.
    public struct Pair
    {
        public Counter First;
    }

    public class Holder
    {
        public Pair Pair;
        public Pair[] Pairs = new Pair[2];
        public Counter Counter;
        public Counter Property { get; set; }
        public Counter[] Counters = new Counter[2];
        public readonly Counter Fixed;
        public List<int> Numbers = new List<int>();
        public Dictionary<string, int> Map = new Dictionary<string, int>();
        public Holder Inner { get { return m_inner ?? (m_inner = new Holder()); } }
        private Holder m_inner;
        public string Text { get; set; }
        public int? Maybe { get; set; }
        public int? None { get; set; }
        public TimeSpan Span = TimeSpan.FromSeconds(1);
        public object Boxed = 5;
        public string[] Words = { "a", "b" };
        public uint Unsigned = 7;
        public long Long = 8;
        public byte Small = 9;
        public Converter<int, int> Callback;
        public Converter<int, int> Empty;
        public int Apply(int a) { return Callback(a); }
        public Counter Taken() { return Counter; }
        public string Overloaded(int a, long b) { return "int,long"; }
        public string Overloaded(long a, int b) { return "long,int"; }
        public IEnumerable<int> Few() { yield return 1; yield return 2; }
    }
}
