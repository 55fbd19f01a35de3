using System;
using System.Collections;
using System.Collections.Generic;
using System.Threading;

namespace OrvTest
{
    // Things that a look at them may change, or that raise when they are looked at.
    public class Reader : IEnumerable
    {
        public int Left = 3;

        public IEnumerator GetEnumerator()
        {
            while (Left > 0)
                yield return "row " + Left--;
        }
    }

    // Reading on waits for ever.
    public class Blocking : IEnumerable<int>
    {
        public IEnumerator<int> GetEnumerator()
        {
            Thread.Sleep(Timeout.Infinite);
            yield return 1;
        }

        IEnumerator IEnumerable.GetEnumerator()
        {
            return GetEnumerator();
        }

        public override string ToString()
        {
            return "a queue";
        }
    }

    // Counts how often it is looked into.
    public class Watched : IEnumerable<int>
    {
        private int m_reads;
        public int Reads { get { return ++m_reads; } }
        public int Count { get { ++m_reads; return 1; } }
        public IEnumerator<int> GetEnumerator() { ++m_reads; yield return 1; }
        IEnumerator IEnumerable.GetEnumerator() { return GetEnumerator(); }
        public override string ToString() { return "watched"; }
    }

    // Knows its count by the youngest of the interfaces alone.
    public class ReadOnlyList : IReadOnlyCollection<string>
    {
        public int Count { get { return 2; } }
        public IEnumerator<string> GetEnumerator() { yield return "a"; yield return "b"; }
        IEnumerator IEnumerable.GetEnumerator() { return GetEnumerator(); }
    }

    // Counts what runs.
    public class Counting
    {
        public static int Runs;
        public Counting() { ++Runs; }
        public int Next { get { return ++Runs; } }
        public int Count() { return ++Runs; }
        public void Nothing() { }
    }

    // Gives much in every way that is printed.
    public class Giver
    {
        public delegate void Giving(object first, string second);
        public event Giving Given;

        public Giver()
        {
        }

        public Giver(out string text) { Take(out text); }

        public void Give(object first, string second) { Given(first, second); }
        public void Take(out string text) { text = new string('x', 505); }
        public void Grow(ref object value) { value = new int[] { (int)value, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0 }; }

        public void GiveOnThreads(object first, int count)
        {
            Thread[] threads = new Thread[count];
            for (int i = 0; i < count; ++i)
                (threads[i] = new Thread(delegate() { Given(first, null); })).Start();
            foreach (Thread thread in threads)
                thread.Join();
        }
    }

    // Begins lines and leaves them to others.
    public class Shouter
    {
        private EventHandler m_rang;

        public Shouter() { Console.Write("new "); }
        public string Name { get { Console.Write("name "); return "s"; } }

        public event EventHandler Rang
        {
            add { Console.Write("add "); m_rang += value; }
            remove { m_rang -= value; }
        }

        public void Shout()
        {
            Console.Write("first ");
            Console.Write("second");
            m_rang(null, null);
            Console.Write("third");
            m_rang(null, null);
            Console.Write("fourth");
        }

        public void Fail()
        {
            Console.Write("fails ");
            throw new Quiet();
        }
    }

    public class Quiet : Exception
    {
        public Quiet() : base("quiet") { }
        public override string StackTrace { get { return null; } }
    }

    // A set, as the 2.0 library has none: it knows its count by ICollection<T> alone.
    public class Bag : ICollection<int>
    {
        private readonly List<int> m_items = new List<int>();

        public int Count { get { return m_items.Count; } }
        public bool IsReadOnly { get { return false; } }
        public void Add(int item) { m_items.Add(item); }
        public void Clear() { m_items.Clear(); }
        public bool Contains(int item) { return m_items.Contains(item); }
        public void CopyTo(int[] array, int index) { m_items.CopyTo(array, index); }
        public bool Remove(int item) { return m_items.Remove(item); }
        public IEnumerator<int> GetEnumerator() { return m_items.GetEnumerator(); }
        IEnumerator IEnumerable.GetEnumerator() { return m_items.GetEnumerator(); }
        public override string ToString() { return "a bag"; }
    }

    public class Aborting : ArrayList
    {
        public override string ToString()
        {
            Thread.CurrentThread.Abort();
            return "";
        }

        public static ICollection List()
        {
            return new AbortingList();
        }

        public static void Throw()
        {
            throw new AbortingException();
        }

        private class AbortingList : ArrayList
        {
            public override int Count
            {
                get
                {
                    Thread.CurrentThread.Abort();
                    return 1;
                }
            }
        }

        private class AbortingException : Exception
        {
            public override string Message
            {
                get
                {
                    Thread.CurrentThread.Abort();
                    return "";
                }
            }
        }
    }

    public static class Several
    {
        public static void Throw()
        {
            throw new AggregateException("several", new ArgumentException("first", new InvalidOperationException("below")),
                                         new NotSupportedException("second"));
        }

        public static void ThrowItself()
        {
            throw new Circular();
        }
    }

    public class Circular : AggregateException
    {
        public Circular() : base("round", new InvalidOperationException("inner"))
        {
        }
    }

    // With a circle, a long array and a property that raises.
    public class Tree
    {
        public string Name = "root";
        public Tree Left;
        public Tree Right { get; set; }
        public int[] Numbers = new int[25];
        public Dictionary<string, int> Ages = new Dictionary<string, int>();
        public int Broken { get { throw new InvalidOperationException("why"); } }
        public static int Shared = 5;
    }
}
