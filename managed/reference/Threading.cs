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
    }

    public sealed class Thread
    {
        internal Thread() { }
        public static Thread CurrentThread { get { throw null; } }
        public int ManagedThreadId { get { throw null; } }
        public static void ResetAbort() { }
        public static void Sleep(int millisecondsTimeout) { }
    }
}
