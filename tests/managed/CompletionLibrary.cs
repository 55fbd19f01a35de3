using System;
using System.Collections.Generic;

namespace OrvTest.Completing
{
    // Counts what runs when nothing should.
    public static class Runs
    {
        public static int Count;

        public static T Counted<T>(T value)
        {
            ++Count;
            return value;
        }
    }

    public class Quiet
    {
        public static Quiet One = Runs.Counted(new Quiet());
        public object Hidden = new List<string>(new string[] { "a" });
        public Quiet Next;
        public readonly object[] Items = { "text", 5, null };
        public Pair Both = new Pair();

        static Quiet()
        {
            Runs.Counted(0);
        }

        public object Property
        {
            get { return Runs.Counted("x"); }
            set { Runs.Counted(value); }
        }

        public Quiet Self
        {
            get { return Runs.Counted(this); }
        }

        public string this[int index]
        {
            get { return Runs.Counted("x"); }
        }

        public int this[string name]
        {
            get { return Runs.Counted(1); }
        }

        public string OnlyWritten
        {
            set { Runs.Counted(value); }
        }

        public event EventHandler Rang
        {
            add { Runs.Counted(value); }
            remove { Runs.Counted(value); }
        }

        public Quiet Make()
        {
            return Runs.Counted(this);
        }

        public string Same(int a)
        {
            return Runs.Counted("a");
        }

        public Quiet Same(string a)
        {
            return Runs.Counted(this);
        }

        public int Same(string a, string b)
        {
            return Runs.Counted(1);
        }

        public T Map<T>(T value)
        {
            return Runs.Counted(value);
        }

        public Func<Quiet> Maker = delegate() { return Runs.Counted(new Quiet()); };

        public int? Maybe = 5;

        public static implicit operator string(Quiet one)
        {
            return Runs.Counted("x");
        }

        public override string ToString()
        {
            return Runs.Counted("x");
        }

        public override bool Equals(object other)
        {
            return Runs.Counted(false);
        }

        public override int GetHashCode()
        {
            return Runs.Counted(1);
        }

        public void @object()
        {
        }
    }

    // Nothing has touched it before a completion does.
    public class Untouched
    {
        public static readonly Quiet Value = Runs.Counted<Quiet>(null);
        public static Untouched Instance = Runs.Counted<Untouched>(null);

        static Untouched()
        {
            Runs.Counted(0);
        }

        public static Quiet Get(Func<int, int> map)
        {
            return Runs.Counted<Quiet>(null);
        }

        public static int Numbered(int number)
        {
            return Runs.Counted(number);
        }
    }

    public struct Pair
    {
        public string First;
        public int Second;
    }

    public abstract class Unmade
    {
        public class Inside
        {
        }
    }

    public static class Helpers
    {
    }

    public interface IShown
    {
        void Show();
    }

    // Its only member is shown by the interface alone.
    public class Secret : IShown
    {
        void IShown.Show()
        {
        }
    }

    public class Base
    {
        public int Covered = 1;
        public string Changed
        {
            get { return ""; }
        }
    }

    public class Derived : Base
    {
        public new int Changed
        {
            get { return 1; }
        }

        public new int Covered()
        {
            return 1;
        }
    }
}
