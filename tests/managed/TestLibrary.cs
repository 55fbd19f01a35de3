using System;
using System.Collections;
using System.Collections.Generic;

// Classes of every shape that a command may meet. Overloads return their own signature.

public class Global
{
    public static string Name = "global";
}

namespace OrvTest
{
    public enum Color
    {
        Red,
        Green = 5,
        Blue
    }

    [Flags]
    public enum Access : byte
    {
        None = 0,
        Read = 1,
        Write = 2,
        All = 255
    }

    public interface IShape
    {
        double Area { get; }
        string Describe(int digits);
    }

    public class Square : IShape
    {
        private readonly double m_side;

        public Square(double side)
        {
            m_side = side;
        }

        double IShape.Area
        {
            get { return m_side * m_side; }
        }

        string IShape.Describe(int digits)
        {
            return "square " + digits;
        }

        public static implicit operator Square(int side)
        {
            return new Square(side);
        }

        public static explicit operator double(Square square)
        {
            return square.m_side;
        }
    }

    public struct Point
    {
        public int X;
        public int Y;

        public Point(int x, int y)
        {
            X = x;
            Y = y;
        }

        public int Sum()
        {
            return X + Y;
        }
    }

    public class Base
    {
        public string Who(int number)
        {
            return "Base.Who(int)";
        }

        public virtual string Virtual()
        {
            return "Base";
        }

        public static string StaticOfBase()
        {
            return "static of base";
        }

        public string Hidden = "base field";
    }

    public class Derived : Base
    {
        // Chosen for an int too: a base class's method does not count once one here fits.
        public string Who(double number)
        {
            return "Derived.Who(double)";
        }

        public override string Virtual()
        {
            return "Derived";
        }

        public new int Hidden = 7;
    }

    public class Overloads
    {
        public string One(int a) { return "int"; }
        public string One(long a) { return "long"; }
        public string One(double a) { return "double"; }
        public string One(object a) { return "object"; }
        public string One(string a) { return "string"; }
        public string Small(byte a) { return "byte"; }
        public string Small(short a) { return "short"; }
        public string Signs(uint a) { return "uint"; }
        public string Signs(int a) { return "int"; }
        public string Wide(ulong a) { return "ulong"; }
        public string Wide(long a) { return "long"; }
        public string Pair(int a, double b) { return "int,double"; }
        public string Pair(double a, int b) { return "double,int"; }
        public string Many(int a) { return "int"; }
        public string Many(params int[] a) { return "params " + a.Length; }
        public string Text(string format, params object[] a) { return "format " + (a == null ? "null" : a.Length.ToString()); }
        public string Ref(ref int a) { a += 1; return "ref"; }
        public string Ref(int a) { return "value"; }
        public bool TryGet(string key, out int value) { value = key.Length; return true; }
        public string Both(ref string a, out int b) { a = a + "!"; b = a.Length; return a; }
        public string Null(string a) { return "string"; }
        public string Null(int? a) { return "int?"; }
        public string MaybeInt(int? a) { return a.HasValue ? a.Value.ToString() : "none"; }
        public string MaybeLong(long? a) { return a.HasValue ? a.Value.ToString() : "none"; }
        public string Chars(char a) { return "char"; }
        public string Chars(int a) { return "int"; }
        public string Floats(float a) { return "float"; }
        public string Floats(decimal a) { return "decimal"; }
        public string Array(int[] a) { return "int[" + a.Length + "]"; }
        public string Array(string[] a) { return "string[" + a.Length + "]"; }
        public string Doubles(double[] a) { return a.Length == 0 ? "0" : a[0].ToString(System.Globalization.CultureInfo.InvariantCulture); }
        public string Sequence(IEnumerable<string> a) { return string.Join("+", new List<string>(a).ToArray()); }
        public string Block(int[,] a) { return a.GetLength(0) + "x" + a.GetLength(1); }
        public string Shape(IShape a) { return a.Describe(3); }
        public string Squared(Square a) { return ((IShape)a).Area.ToString(System.Globalization.CultureInfo.InvariantCulture); }
        public string Enumerated(Color a) { return a.ToString(); }
        public string Flags(Access a) { return a.ToString(); }
        public T Same<T>(T a) { return a; }
        public string Kind<T>() { return typeof(T).Name; }
        public string Kind<T, U>() { return typeof(T).Name + "," + typeof(U).Name; }
        public string First<T>(IEnumerable<T> a) { return typeof(T).Name; }
        public string Generic(string a) { return "plain"; }
        public string Generic<T>(T a) { return "generic"; }
        public string Constrained<T>(T a) where T : struct { return typeof(T).Name; }
        public string Twice<T>(T a, T b) { return typeof(T).Name; }
        public unsafe string Pointer(int* a) { return "pointer"; }
        public void Nothing() { }
        public string Type(Type type) { return type.Name; }
        public static string Static() { return "static"; }
    }

    public class Data
    {
        public int Field = 1;
        public readonly int ReadOnlyField = 2;
        public const string Constant = "constant";
        public static int StaticField = 3;
        public Point Place = new Point(1, 2);
        public object Anything;
        public byte Small;
        public int? Maybe;
        public int[] Numbers = new int[] { 1, 2, 3 };
        public int[,] Grid = new int[,] { { 1, 2 }, { 3, 4 } };
        public Func Callback = delegate(int a) { return a * 2; };
        private string m_written;
        private readonly Dictionary<string, int> m_items = new Dictionary<string, int>();

        public delegate int Func(int a);

        public static string StaticProperty { get; set; }

        public Point PlaceProperty
        {
            get { return Place; }
            set { Place = value; }
        }

        public string ReadOnly
        {
            get { return "read"; }
        }

        public string WriteOnly
        {
            set { m_written = value; }
        }

        public string Written()
        {
            return m_written;
        }

        public int PrivateSet { get; private set; }

        public int this[string key]
        {
            get { return m_items[key]; }
            set { m_items[key] = value; }
        }

        public string this[int row, int column]
        {
            get { return row + ":" + column; }
        }

        public Data Self
        {
            get { return this; }
        }

        public Data Null
        {
            get { return null; }
        }

        public Data Itself()
        {
            return this;
        }

        public IEnumerable<int> Endless()
        {
            for (int i = 0;; ++i)
                yield return i;
        }

        internal string Internal()
        {
            return "internal";
        }
    }

    public class Failing
    {
        public Failing()
        {
        }

        public Failing(string message)
        {
            throw new ArgumentException(message, new InvalidOperationException("inner"));
        }

        public int Property
        {
            get { throw new InvalidOperationException("getter"); }
            set { throw new InvalidOperationException("setter"); }
        }

        public int this[int index]
        {
            get { throw new InvalidOperationException("indexer"); }
        }

        public void Method()
        {
            throw new InvalidOperationException("method");
        }

        public void Abort()
        {
            System.Threading.Thread.CurrentThread.Abort();
        }

        public event EventHandler Event
        {
            add { throw new InvalidOperationException("add"); }
            remove { }
        }

        public override string ToString()
        {
            throw new InvalidOperationException("text");
        }
    }

    public class Threads
    {
        // Returns when the thread, which ends with an exception, is gone.
        public static void Fail()
        {
            System.Threading.Thread thread = new System.Threading.Thread(delegate() {
                throw new InvalidOperationException("on a thread");
            });
            thread.Start();
            thread.Join();
        }
    }

    public class BadMessage : Exception
    {
        public override string Message
        {
            get { throw new InvalidOperationException(); }
        }

        public override string StackTrace
        {
            get { throw new InvalidOperationException(); }
        }

        public static void Throw()
        {
            throw new BadMessage();
        }
    }

    public class BadStatic
    {
        public static int Value = Compute();

        private static int Compute()
        {
            throw new InvalidOperationException("static");
        }

        public static void Touch()
        {
        }
    }

    public class BadList : IEnumerable
    {
        public IEnumerator GetEnumerator()
        {
            yield return 1;
            throw new InvalidOperationException("list");
        }
    }

    public class BadCollection : BadList, ICollection
    {
        public int Count { get { return 2; } }
        public bool IsSynchronized { get { return false; } }
        public object SyncRoot { get { return this; } }
        public void CopyTo(Array array, int index) { }
    }

    public abstract class Abstract
    {
    }

    public static class StaticClass
    {
        public static int Twice(int a)
        {
            return a * 2;
        }
    }

    public class NoConstructor
    {
        private NoConstructor()
        {
        }
    }

    internal class NotPublic
    {
        public NotPublic()
        {
        }
    }

    public class Outer
    {
        public class Inner
        {
            public string Where = "inner";
            public static int Count = 9;

            public enum Level
            {
                Low,
                High
            }
        }

        public class GenericInner<T>
        {
            public string Of()
            {
                return typeof(T).Name;
            }
        }
    }

    public class Box<T>
    {
        public T Content;

        public Box()
        {
        }

        public Box(T content)
        {
            Content = content;
        }

        public class Lid<U>
        {
            public string Names()
            {
                return typeof(T).Name + "," + typeof(U).Name;
            }
        }

        public static string Kind()
        {
            return typeof(T).Name;
        }
    }

    public class Bell
    {
        public delegate void FiveArguments(int a, int b, int c, int d, int e);
        public delegate int Answering(int a);
        public delegate void ThreeArguments(string a, int b, Color c);

        public event EventHandler Rang;
        public event ThreeArguments Struck;
        public event FiveArguments Five;
        public event Answering Asked;
        public static event EventHandler Everywhere;

        public void Ring()
        {
            if (Rang != null)
                Rang(this, EventArgs.Empty);
        }

        public void Strike(string a)
        {
            if (Struck != null)
                Struck(a, 2, Color.Blue);
        }

        public static void RingEverywhere()
        {
            if (Everywhere != null)
                Everywhere(null, EventArgs.Empty);
        }

        public bool IsUnused()
        {
            return Five == null && Asked == null;
        }

        public override string ToString()
        {
            return "bell";
        }
    }

    public class @class
    {
        public int @int = 4;
    }

    public class Größe
    {
        public string Straße = "weg";
    }
}
