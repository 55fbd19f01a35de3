using System;
using System.Reflection;
using System.Threading;

namespace OrvTest
{
    // Methods of every shape that a host may ask for.
    public class Runtime
    {
        private static int s_calls;
        private static object s_kept;

        public static int Length(string text)
        {
            return text == null ? -1 : text.Length;
        }

        public static int CodeOfFirst(string text)
        {
            return text[0];
        }

        public static int Print(string text)
        {
            Console.WriteLine(text);
            return 0;
        }

        public static int CurrentFolderIs(string text)
        {
            return Environment.CurrentDirectory.EndsWith(text, StringComparison.OrdinalIgnoreCase) ? 1 : 0;
        }

        public static int BaseFolderIs(string text)
        {
            string folder = AppDomain.CurrentDomain.BaseDirectory.TrimEnd('/', '\\');
            return folder.EndsWith(text, StringComparison.OrdinalIgnoreCase) ? 1 : 0;
        }

        // Keeps some of what it makes alive across collections; returns the number of calls so far.
        public static int Collect(string text)
        {
            object[] made = new object[200];
            for (int i = 0; i < made.Length; ++i)
                made[i] = new byte[100 + i];
            s_kept = new object[] { s_kept is object[] && s_calls % 50 != 0 ? s_kept : null, made };
            if (s_calls % 10 == 0)
                GC.Collect();
            return ++s_calls;
        }

        // Collections while other threads run and wait.
        public static int CollectWithThreads(string text)
        {
            int sum = 0;
            Thread[] threads = new Thread[4];
            for (int i = 0; i < threads.Length; ++i)
            {
                threads[i] = new Thread(delegate() {
                    for (int k = 0; k < 2000; ++k)
                        Interlocked.Add(ref sum, new byte[1000].Length / 1000);
                });
                threads[i].Start();
            }
            for (int i = 0; i < 20; ++i)
                GC.Collect();
            foreach (Thread thread in threads)
                thread.Join();
            return sum;
        }

        public static int Recurse(string text)
        {
            return Deep(20000);
        }

        private static int Deep(int depth)
        {
            return depth == 0 ? 0 : 1 + Deep(depth - 1);
        }

        public static int Throw(string text)
        {
            throw new Exception(text);
        }

        public static int ThrowInvalidOperation(string text)
        {
            throw new InvalidOperationException(text);
        }

        public static int ThrowOwn(string text)
        {
            throw new OwnException();
        }

        public static int ThrowPositive(string text)
        {
            throw new PositiveException();
        }

        // Returns when the thread, which ends with an exception, is gone.
        public static int ThrowOnThread(string text)
        {
            Thread thread = new Thread(delegate() { throw new InvalidOperationException(text); });
            thread.Start();
            thread.Join();
            return 1;
        }

        public static int DereferenceNull(string text)
        {
            object nothing = text == "never" ? text : null;
            return nothing.GetHashCode();
        }

        public static int Overloaded(int number)
        {
            return 1;
        }

        public static int Overloaded(string text)
        {
            return 2;
        }

        private static int Hidden(string text)
        {
            return 3;
        }

        public int NotStatic(string text)
        {
            return 0;
        }

        public static string ReturnsText(string text)
        {
            return text;
        }

        public static int TakesNothing()
        {
            return 0;
        }

        public static int TakesReference(ref string text)
        {
            return 0;
        }

        public static int Generic<T>(string text)
        {
            return 0;
        }

        public class Nested
        {
            public static int Four(string text)
            {
                return 4;
            }
        }
    }

    public class OwnException : Exception
    {
        public OwnException()
        {
            HResult = unchecked((int)0x80041234);
        }
    }

    // A status that claims success although an exception escaped.
    public class PositiveException : Exception
    {
        public PositiveException()
        {
            HResult = 7;
        }
    }
}
