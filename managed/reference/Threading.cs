namespace System.Threading
{
    public static class Interlocked
    {
        public static int CompareExchange(ref int location1, int value, int comparand) { throw null; }
        public static T CompareExchange<T>(ref T location1, T value, T comparand) where T : class { throw null; }
    }

    public static class Monitor
    {
        public static void Enter(object obj) { }
        public static void Exit(object obj) { }
        public static void Pulse(object obj) { }
        public static bool Wait(object obj) { throw null; }
    }

    public delegate void ThreadStart();

    public sealed class Thread
    {
        public Thread(ThreadStart start) { }
        public static Thread CurrentThread { get { throw null; } }
        public bool IsBackground { set { } }
        public int ManagedThreadId { get { throw null; } }
        public string Name { get { throw null; } }
        public static void MemoryBarrier() { }
        public static void ResetAbort() { }
        public void Resume() { }
        public void Start() { }
        public void Suspend() { }
        public static void Sleep(int millisecondsTimeout) { }
    }
}
