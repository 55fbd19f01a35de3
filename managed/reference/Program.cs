using System.IO;
using System.Reflection;
using System.Text;

namespace System
{
    public sealed class Activator
    {
        internal Activator() { }
        public static object CreateInstance(Type type) { throw null; }
    }

    public sealed class AppDomain : MarshalByRefObject
    {
        internal AppDomain() { }
        public static AppDomain CurrentDomain { get { throw null; } }
        public event ResolveEventHandler AssemblyResolve { add { } remove { } }
        public event UnhandledExceptionEventHandler UnhandledException { add { } remove { } }
        public Assembly[] GetAssemblies() { throw null; }
    }

    public static class Console
    {
        public static int CursorLeft { get { throw null; } }
        public static TextWriter Out { get { throw null; } }
        public static Encoding OutputEncoding { set { } }
        public static Stream OpenStandardOutput() { throw null; }
        public static void SetOut(TextWriter newOut) { }
        public static void WriteLine(string format, object arg0, object arg1) { }
    }

    public static class GC
    {
        public static void KeepAlive(object obj) { }
    }

    public static class Environment
    {
        public static string GetEnvironmentVariable(string variable) { throw null; }
        public static void SetEnvironmentVariable(string variable, string value) { }
    }
}

namespace System.Diagnostics
{
    public sealed class Debugger
    {
        public static bool IsAttached { get { throw null; } }
        public static void Break() { }
    }
}
