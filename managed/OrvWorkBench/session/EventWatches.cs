using System;
using System.Collections.Generic;
using System.Reflection;

namespace OrvWorkBench
{
    // The events that the user watches: each time one is raised, a line is printed.
    internal sealed class EventWatches
    {
        private sealed class Watch
        {
            public EventInfo Event;
            public object Source;
            public Delegate Handler;
        }

        private readonly List<Watch> m_watches = new List<Watch>();
        private readonly Instances m_instances;

        public EventWatches(Instances instances)
        {
            m_instances = instances;
        }

        // Whether Add would take it.
        public bool CanAdd(EventInfo watched, object source)
        {
            return Find(watched, source) == null && watched.GetAddMethod() != null && EventPrinter.Make(watched, m_instances) != null;
        }

        // Throws CommandError when the event is watched already or when no handler fits its delegate.
        public void Add(EventInfo watched, object source, int position)
        {
            if (Find(watched, source) != null)
                throw new CommandError(position, "the event '" + watched.Name + "' is watched already");
            Watch watch = new Watch();
            watch.Event = watched;
            watch.Source = source;
            watch.Handler = EventPrinter.Make(watched, m_instances);
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

        // Takes all handlers off again, also when an object raises an exception at it.
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
                       Declarer(watch.Event) == Declarer(watched);
            });
        }

        // The class that first declared the event; an override is the same event.
        private static Type Declarer(EventInfo watched)
        {
            MethodInfo adder = watched.GetAddMethod();
            return adder == null ? watched.DeclaringType : adder.GetBaseDefinition().DeclaringType;
        }
    }
}
