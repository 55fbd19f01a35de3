using System;
using System.Collections;
using System.Collections.Generic;
using System.Reflection;

namespace OrvWorkBench
{
    // What is to be told of an exception that the user's code raised, with all that caused it. Asks the exception, which
    // is the user's code too, once.
    internal sealed class RaisedException
    {
        // More than any real chain of causes; an exception may name itself as its cause.
        private const int c_greatestCount = 100;

        private readonly string m_type;
        private readonly string m_message;
        private readonly List<string> m_frames;
        private readonly List<RaisedException> m_causes = new List<RaisedException>();
        private readonly int m_causeCount;

        public RaisedException(Exception error) : this(error, new Counter())
        {
        }

        private RaisedException(Exception error, Counter counter)
        {
            ++counter.Count;
            m_type = TypeNames.Show(error.GetType());
            string message = null;
            Guard.Run(delegate() { message = Printable.OneLine(error.Message); });
            m_message = message;
            m_frames = FramesOf(error);
            List<Exception> causes = CausesOf(error);
            m_causeCount = causes.Count;
            for (int i = 0; i < causes.Count && counter.Count < c_greatestCount; ++i)
                m_causes.Add(new RaisedException(causes[i], counter));
        }

        private sealed class Counter
        {
            public int Count;
        }

        // As C# writes it.
        public string Type
        {
            get { return m_type; }
        }

        // On one line. Null when asking for it raises an exception itself.
        public string Message
        {
            get { return m_message; }
        }

        // Where it was raised, without the outermost frames, which are this dispatcher's own and those of reflection.
        public IList<string> Frames
        {
            get { return m_frames; }
        }

        // The first ones, if there are more than it makes sense to tell.
        public IList<RaisedException> Causes
        {
            get { return m_causes; }
        }

        // Of all of them.
        public int CauseCount
        {
            get { return m_causeCount; }
        }

        // Most exceptions have at most one cause. Some have a list: one has it in the 2.0 library, and one, which came
        // later, is known by its name.
        private static List<Exception> CausesOf(Exception error)
        {
            List<Exception> causes = new List<Exception>();
            Guard.Run(delegate() {
                IEnumerable several = SeveralCauses(error);
                if (several != null)
                {
                    foreach (object cause in several)
                    {
                        if (cause is Exception)
                            causes.Add((Exception)cause);
                    }
                }
                if (causes.Count == 0 && error.InnerException != null)
                    causes.Add(error.InnerException);
            });
            return causes;
        }

        private static IEnumerable SeveralCauses(Exception error)
        {
            ReflectionTypeLoadException partial = error as ReflectionTypeLoadException;
            if (partial != null)
                return partial.LoaderExceptions;
            for (Type type = error.GetType(); type != null; type = type.BaseType)
            {
                if (type.FullName == "System.AggregateException")
                    return type.GetProperty("InnerExceptions").GetValue(error, null) as IEnumerable;
            }
            return null;
        }

        private static List<string> FramesOf(Exception error)
        {
            List<string> lines = new List<string>();
            // An exception class may override StackTrace.
            Guard.Run(delegate() {
                foreach (string line in (error.StackTrace ?? "").Replace("\r", "").Split('\n'))
                    lines.Add(line.Trim());
            });
            int count = lines.Count;
            while (count > 0 && IsOurs(lines[count - 1]))
                --count;
            lines.RemoveRange(count, lines.Count - count);
            return lines;
        }

        private static bool IsOurs(string frame)
        {
            return frame.Length == 0 || frame.Contains(" System.Reflection.") || frame.Contains(" System.RuntimeMethodHandle.") ||
                   frame.Contains(" OrvWorkBench.");
        }
    }
}
