namespace OrvTest
{
    // The tests that are named, or the debugger that one of them starts.
    internal static class Program
    {
        public static int Main(string[] arguments)
        {
            if (arguments.Length == 2 && arguments[0].StartsWith("--hold", System.StringComparison.Ordinal))
                return DebuggerTests.Hold(int.Parse(arguments[1]), arguments[0] == "--hold-behind");
            return Harness.Main(arguments);
        }
    }
}
