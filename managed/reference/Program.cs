using System.IO;
using System.Reflection;
using System.Text;
using System.Threading;

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
        public event AssemblyLoadEventHandler AssemblyLoad { add { } remove { } }
        public event ResolveEventHandler AssemblyResolve { add { } remove { } }
        public event EventHandler ProcessExit { add { } remove { } }
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

    public sealed class Version
    {
        internal Version() { }
    }

    public static class GC
    {
        public static void KeepAlive(object obj) { }
    }

    public static class Environment
    {
        public static Version Version { get { throw null; } }
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

    public class StackFrame
    {
        internal StackFrame() { }
        public virtual int GetFileLineNumber() { throw null; }
        public virtual string GetFileName() { throw null; }
        public virtual MethodBase GetMethod() { throw null; }
    }

    public class StackTrace
    {
        public StackTrace(bool fNeedFileInfo) { }
        public StackTrace(Thread targetThread, bool needFileInfo) { }
        public virtual int FrameCount { get { throw null; } }
        public virtual StackFrame GetFrame(int index) { throw null; }
    }
}
