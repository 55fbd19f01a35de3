using System.Reflection;
using System.Threading;

namespace System
{
    public delegate int Comparison<T>(T x, T y);
    public delegate void AsyncCallback(IAsyncResult ar);

    public delegate TOutput Converter<TInput, TOutput>(TInput input);

    public abstract class Delegate
    {
        internal Delegate() { }
        public MethodInfo Method { get { throw null; } }
        public static Delegate Combine(Delegate a, Delegate b) { throw null; }
        public static Delegate CreateDelegate(Type type, object firstArgument, MethodInfo method, bool throwOnBindFailure) { throw null; }
        public static Delegate Remove(Delegate source, Delegate value) { throw null; }
    }

    public class EventArgs
    {
        public EventArgs() { }
    }

    public delegate void EventHandler(object sender, EventArgs e);
    public delegate void EventHandler<TEventArgs>(object sender, TEventArgs e) where TEventArgs : EventArgs;

    public interface IAsyncResult
    {
        object AsyncState { get; }
        WaitHandle AsyncWaitHandle { get; }
        bool CompletedSynchronously { get; }
        bool IsCompleted { get; }
    }

    public abstract class MulticastDelegate : Delegate
    {
        internal MulticastDelegate() { }
    }

    public delegate bool Predicate<T>(T obj);

    public class ResolveEventArgs : EventArgs
    {
        internal ResolveEventArgs() { }
        public string Name { get { throw null; } }
    }

    public class AssemblyLoadEventArgs : EventArgs
    {
        internal AssemblyLoadEventArgs() { }
        public Assembly LoadedAssembly { get { throw null; } }
    }

    public delegate void AssemblyLoadEventHandler(object sender, AssemblyLoadEventArgs args);

    public delegate Assembly ResolveEventHandler(object sender, ResolveEventArgs args);

    public class UnhandledExceptionEventArgs : EventArgs
    {
        internal UnhandledExceptionEventArgs() { }
        public object ExceptionObject { get { throw null; } }
    }

    public delegate void UnhandledExceptionEventHandler(object sender, UnhandledExceptionEventArgs e);
}

namespace System.Threading
{
    public abstract class WaitHandle : MarshalByRefObject
    {
    }
}
