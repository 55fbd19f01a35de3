using System;
using System.Collections.Generic;
using System.Diagnostics;
using System.Reflection;
using System.Text;
using System.Threading;

namespace OrvWorkBench
{
    // What threads are doing, as text: first the user's method that the command is in, then a stack for each thread,
    // innermost frame first.
    internal static class StackTexts
    {
        // Mono tells the stacks of all threads; the others that of a thread which is suspended for it.
        private static readonly MethodInfo s_ofAll =
            typeof(Thread).GetMethod("Mono_GetStackTraces", BindingFlags.Static | BindingFlags.NonPublic);

        // Of all threads that the runtime tells of; that of the command is first. The calling thread is left out, unless it
        // is the command's.
        public static string Show(Thread commandThread)
        {
            Dictionary<Thread, StackTrace> others =
                s_ofAll == null ? new Dictionary<Thread, StackTrace>() : (Dictionary<Thread, StackTrace>)s_ofAll.Invoke(null, null);
            StackTrace trace;
            others.TryGetValue(commandThread, out trace);
            if (commandThread == Thread.CurrentThread)
                trace = new StackTrace(true);
            else if (s_ofAll == null)
                trace = OfSuspended(commandThread);
            others.Remove(commandThread);
            others.Remove(Thread.CurrentThread);

            StringBuilder text = new StringBuilder();
            List<StackFrame> frames = WithoutDispatcher(FramesOf(trace));
            AddMethod(text, frames);
            AddThread(text, commandThread, ", which carries out the command", frames);
            foreach (Thread other in others.Keys)
                AddThread(text, other, "", FramesOf(others[other]));
            if (s_ofAll == null)
                text.Append("(this runtime tells of no other thread)\n");
            return text.ToString();
        }

        // "2.0.50727.8009"; Mono adds its own name.
        public static string Runtime()
        {
            string name = null;
            Guard.Run(delegate() {
                MethodInfo display = typeof(object).Assembly.GetType("Mono.Runtime", true, false).GetMethod("GetDisplayName", BindingFlags.Static | BindingFlags.NonPublic);
                name = (string)display.Invoke(null, null);
            });
            return name == null ? Environment.Version.ToString() : Environment.Version + " (Mono " + name + ")";
        }

        // All that is needed for it is compiled and loaded before: the thread may stop where it holds a lock that
        // compiling takes.
        private static StackTrace OfSuspended(Thread thread)
        {
            Thread other = new Thread(Rest);
            other.IsBackground = true;
            other.Start();
            FramesOf(Suspended(other));
            return Suspended(thread);
        }

        // Newer libraries advise against both, for programs that want to go on afterwards.
#pragma warning disable 612, 618
        private static StackTrace Suspended(Thread thread)
        {
            thread.Suspend();
            try
            {
                return new StackTrace(thread, true);
            }
            finally
            {
                thread.Resume();
            }
        }
#pragma warning restore 612, 618

        private static void Rest()
        {
            Thread.Sleep(1000);
        }

        // Those of which the runtime knows the method.
        private static List<StackFrame> FramesOf(StackTrace trace)
        {
            List<StackFrame> frames = new List<StackFrame>();
            for (int i = 0; trace != null && i < trace.FrameCount; ++i)
            {
                StackFrame frame = trace.GetFrame(i);
                if (frame.GetMethod() != null && frame.GetMethod().DeclaringType != null && !IsWrapper(frame.GetMethod()))
                    frames.Add(frame);
            }
            return frames;
        }

        // Mono's own way into managed code.
        private static bool IsWrapper(MethodBase method)
        {
            return method.Name.StartsWith("runtime_invoke_", StringComparison.Ordinal);
        }

        // The user's, and what that has called: without the frames of the dispatcher below, and of reflection between the
        // two; nor those above, when the thread looks at itself. All, when there is nothing else.
        private static List<StackFrame> WithoutDispatcher(List<StackFrame> frames)
        {
            int start = frames.FindIndex(delegate(StackFrame frame) { return !IsDispatcher(frame); });
            if (start < 0)
                return frames;
            List<StackFrame> users = new List<StackFrame>();
            for (int i = start; i < frames.Count && !IsDispatcher(frames[i]); ++i)
                users.Add(frames[i]);
            while (users.Count > 0 && IsReflection(users[users.Count - 1]))
                users.RemoveAt(users.Count - 1);
            return users.Count == 0 ? frames : users;
        }

        // Where the user's code is, and what it has called of the framework's, if it is there.
        private static void AddMethod(StringBuilder text, List<StackFrame> frames)
        {
            if (frames.Count == 0)
                return;
            int users = frames.FindIndex(delegate(StackFrame frame) { return !IsFramework(frame); });
            text.Append("method: ").Append(Show(frames[Math.Max(users, 0)])).Append('\n');
            if (users > 0)
                text.Append("which called: ").Append(Show(frames[0])).Append('\n');
        }

        private static bool IsDispatcher(StackFrame frame)
        {
            return frame.GetMethod().DeclaringType.Assembly == typeof(StackTexts).Assembly;
        }

        private static bool IsFramework(StackFrame frame)
        {
            Assembly assembly = frame.GetMethod().DeclaringType.Assembly;
            return assembly == typeof(object).Assembly || assembly.GlobalAssemblyCache;
        }

        private static bool IsReflection(StackFrame frame)
        {
            string space = frame.GetMethod().DeclaringType.FullName;
            return space.StartsWith("System.Reflection.", StringComparison.Ordinal) || space == "System.RuntimeMethodHandle";
        }

        private static void AddThread(StringBuilder text, Thread thread, string role, List<StackFrame> frames)
        {
            text.Append("thread " + thread.ManagedThreadId + role);
            if (!string.IsNullOrEmpty(thread.Name))
                text.Append(" \"").Append(Printable.OneLine(thread.Name)).Append('"');
            text.Append(frames.Count == 0 ? ": in no managed method\n" : "\n");
            foreach (StackFrame frame in frames)
                text.Append("  ").Append(Show(frame)).Append('\n');
        }

        // As "double Shop.Cart.Add(string name) in C:\Shop\Cart.cs:12".
        private static string Show(StackFrame frame)
        {
            string text = "";
            Exception failure = Guard.Run(delegate() { text = Signatures.Show(frame.GetMethod()); });
            if (failure != null)
                text = frame.GetMethod().DeclaringType.FullName + "." + frame.GetMethod().Name;
            string file = frame.GetFileName();
            return string.IsNullOrEmpty(file) ? text : text + " in " + file + ":" + frame.GetFileLineNumber();
        }
    }
}
