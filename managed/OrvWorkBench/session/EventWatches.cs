using System;
using System.Collections.Generic;
using System.Reflection;
using System.Text;

namespace OrvWorkBench
{
    // Events that the user watches: each one raised prints a line.
    internal sealed class EventWatches
    {
        private sealed class Watch
        {
            public EventInfo Event;
            public object Source;
            public Delegate Handler;
        }

        private readonly List<Watch> m_watches = new List<Watch>();

        // Throws CommandError when it is watched already or when its delegate has a shape that cannot be watched.
        public void Add(EventInfo watched, object source, int position)
        {
            if (Find(watched, source) != null)
                throw new CommandError(position, "the event '" + watched.Name + "' is watched already");
            Watch watch = new Watch();
            watch.Event = watched;
            watch.Source = source;
            watch.Handler = EventPrinter.Make(watched);
            MethodInfo adder = watched.GetAddMethod();
            if (watch.Handler == null || adder == null)
                throw new CommandError(position, "the event '" + watched.Name + "' cannot be watched: its handler must return nothing and take at most four plain arguments");
            UserCode.Invoke(adder, source, new object[] { watch.Handler });
            m_watches.Add(watch);
            Output.Line("watching " + watched.Name);
        }

        // Throws CommandError when it is not watched.
        public void Remove(EventInfo watched, object source, int position)
        {
            Watch watch = Find(watched, source);
            if (watch == null)
                throw new CommandError(position, "the event '" + watched.Name + "' is not watched");
            m_watches.Remove(watch);
            UserCode.Invoke(watched.GetRemoveMethod(), source, new object[] { watch.Handler });
            Output.Line("no longer watching " + watched.Name);
        }

        // Detaches all, whatever the objects say.
        public void Clear()
        {
            foreach (Watch watch in m_watches)
            {
                try
                {
                    UserCode.Invoke(watch.Event.GetRemoveMethod(), watch.Source, new object[] { watch.Handler });
                }
                catch (UserCodeError)
                {
                }
            }
            m_watches.Clear();
        }

        private Watch Find(EventInfo watched, object source)
        {
            return m_watches.Find(delegate(Watch watch) {
                return ReferenceEquals(watch.Source, source) && watch.Event.Name == watched.Name &&
                       watch.Event.DeclaringType == watched.DeclaringType;
            });
        }
    }

    // Handlers of every common shape, all of which print the arguments.
    internal sealed class EventPrinter
    {
        private readonly string m_name;

        private EventPrinter(string name)
        {
            m_name = name;
        }

        // A handler for the event; null when its delegate has another shape.
        public static Delegate Make(EventInfo watched)
        {
            MethodInfo shape = watched.EventHandlerType.GetMethod("Invoke");
            ParameterInfo[] parameters = shape.GetParameters();
            if (shape.ReturnType != typeof(void) || parameters.Length > 4)
                return null;
            Type[] types = new Type[parameters.Length];
            for (int i = 0; i < types.Length; ++i)
            {
                types[i] = parameters[i].ParameterType;
                if (types[i].IsByRef || types[i].IsPointer)
                    return null;
            }
            MethodInfo handler = typeof(EventPrinter).GetMethod("Print" + types.Length, BindingFlags.NonPublic | BindingFlags.Instance);
            if (types.Length > 0)
                handler = handler.MakeGenericMethod(types);
            return Delegate.CreateDelegate(watched.EventHandlerType, new EventPrinter(watched.Name), handler, false);
        }

        private void Print0()
        {
            Print();
        }

        private void Print1<T1>(T1 a)
        {
            Print(a);
        }

        private void Print2<T1, T2>(T1 a, T2 b)
        {
            Print(a, b);
        }

        private void Print3<T1, T2, T3>(T1 a, T2 b, T3 c)
        {
            Print(a, b, c);
        }

        private void Print4<T1, T2, T3, T4>(T1 a, T2 b, T3 c, T4 d)
        {
            Print(a, b, c, d);
        }

        private void Print(params object[] arguments)
        {
            StringBuilder text = new StringBuilder("event " + m_name + "(");
            for (int i = 0; i < arguments.Length; ++i)
                text.Append(i > 0 ? ", " : "").Append(Formatter.ShowTyped(arguments[i], null));
            Output.Line(text.Append(')').ToString());
        }
    }
}
