using System;
using System.Collections.Generic;
using System.IO;
using System.Runtime.InteropServices;
using System.Threading;

namespace Traps
{
    // Calls that do not come back, each in another way. Each is one call deep in a method that its name does not tell.
    public class Trap
    {
        private const int c_addressSpace = 9;

        private static readonly object s_lock = new object();

        public int Loops()
        {
            return Spin(0);
        }

        public void Locks()
        {
            Thread holder = new Thread(Hold);
            holder.IsBackground = true;
            holder.Name = "holder";
            lock (s_holds)
            {
                holder.Start();
                Monitor.Wait(s_holds);
            }
            AwaitLock();
        }

        // Until GoOn.
        public int Rests(string text, int number)
        {
            AwaitWord();
            return text.Length + number;
        }

        public static void GoOn()
        {
            lock (s_word)
            {
                s_goesOn = true;
                Monitor.PulseAll(s_word);
            }
        }

        public void Sleeps()
        {
            Thread.Sleep(Timeout.Infinite);
        }

        public int Overflows()
        {
            return Deepen(1) + 1;
        }

        public void Exits(int code)
        {
            Leave(code);
        }

        public void FailsFast()
        {
            GiveUp("the trap's own words");
        }

        public void KillsItself()
        {
            End();
        }

        // Not all that the machine has: the process may have a little more than it has already.
        public int Exhausts()
        {
            ulong[] limits = new ulong[2];
            getrlimit(c_addressSpace, limits);
            setrlimit(c_addressSpace, new ulong[] { AddressSpace() + (256 << 20), limits[1] });
            try
            {
                return Hoard();
            }
            finally
            {
                setrlimit(c_addressSpace, limits);
            }
        }

        public void CrashesInNativeCode()
        {
            Strike();
        }

        private static readonly object s_holds = new object();
        private static readonly object s_word = new object();
        private static bool s_goesOn;
        private static volatile int s_counter;

        private static int Spin(int start)
        {
            for (s_counter = start;; ++s_counter)
            {
            }
        }

        private static void AwaitWord()
        {
            lock (s_word)
            {
                while (!s_goesOn)
                    Monitor.Wait(s_word);
                s_goesOn = false;
            }
        }

        private static void Hold()
        {
            lock (s_lock)
            {
                lock (s_holds)
                    Monitor.Pulse(s_holds);
                Thread.Sleep(Timeout.Infinite);
            }
        }

        private static void AwaitLock()
        {
            lock (s_lock)
                s_counter = 0;
        }

        private static int Deepen(int depth)
        {
            return depth < 0 ? 0 : Deepen(depth + 1) + 1;
        }

        private static void Leave(int code)
        {
            Environment.Exit(code);
        }

        private static void GiveUp(string reason)
        {
            Environment.FailFast(reason);
        }

        // As somebody else would do it from outside.
        private static void End()
        {
            kill(getpid(), 9);
        }

        private static int Hoard()
        {
            List<byte[]> hoard = new List<byte[]>();
            for (;;)
                hoard.Add(new byte[16 << 20]);
        }

        private static ulong AddressSpace()
        {
            return ulong.Parse(File.ReadAllText("/proc/self/statm").Split(' ')[0]) * 4096;
        }

        private static void Strike()
        {
            memset(new IntPtr(16), 1, new IntPtr(4096));
        }

        [DllImport("libc")]
        private static extern int getpid();
        [DllImport("libc")]
        private static extern int getrlimit(int resource, [Out] ulong[] limits);
        [DllImport("libc")]
        private static extern int setrlimit(int resource, ulong[] limits);
        [DllImport("libc")]
        private static extern int kill(int process, int signal);
        [DllImport("libc")]
        private static extern IntPtr memset(IntPtr place, int value, IntPtr count);
    }
}
