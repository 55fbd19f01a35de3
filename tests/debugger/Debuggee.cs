using System;
using System.Collections.Generic;
using System.Threading;

namespace Debuggee
{
    // What a debugger finds in the called code; the tests name its lines by the remarks at their ends.
    public class Account
    {
        private readonly string m_owner;
        private int m_balance;

        public Account(string owner)
        {
            m_owner = owner;
        }

        public int Balance
        {
            get { return m_balance; }
            set { m_balance = value; } // set
        }

        public int Pay(int amount, string reason)
        {
            int before = m_balance; // first
            string note = reason + " for " + m_owner; // second
            int after = Add(before, amount); // call
            m_balance = after; // store
            return note.Length + after; // last
        }

        public static int Add(int left, int right)
        {
            int sum = left + right; // inside
            return sum;
        }

        public void Fail(string why)
        {
            throw new InvalidOperationException(why); // throw
        }

        // Threads that allocate and collect while this one counts.
        public long Work(int threads, int milliseconds)
        {
            long allocated = 0;
            DateTime end = DateTime.UtcNow.AddMilliseconds(milliseconds);
            List<Thread> all = new List<Thread>();
            for (int i = 0; i < threads; ++i)
            {
                Thread thread = new Thread(delegate() {
                    while (DateTime.UtcNow < end)
                    {
                        object[] some = new object[100];
                        for (int k = 0; k < some.Length; ++k)
                            some[k] = new byte[64];
                        if (Interlocked.Increment(ref allocated) % 1000 == 0)
                            GC.Collect();
                    }
                });
                thread.IsBackground = true;
                thread.Start();
                all.Add(thread);
            }
            foreach (Thread thread in all)
                thread.Join();
            return allocated;
        }

        public int OnAnotherThread(int amount)
        {
            int result = 0;
            Thread thread = new Thread(delegate() { result = Add(m_balance, amount); });
            thread.Start();
            thread.Join();
            return result;
        }
    }
}
