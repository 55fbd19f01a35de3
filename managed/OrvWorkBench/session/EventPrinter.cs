using System;
using System.Reflection;

namespace OrvWorkBench
{
    // Event handlers that print their arguments: one method for each number of parameters.
    internal sealed class EventPrinter
    {
        private readonly string m_name;
        private readonly Instances m_instances;

        private EventPrinter(string name, Instances instances)
        {
            m_name = name;
            m_instances = instances;
        }

        // A handler for the event; null when none of the methods fits its delegate. Arguments that are cut off get names
        // among the instances.
        public static Delegate Make(EventInfo watched, Instances instances)
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
            return Delegate.CreateDelegate(watched.EventHandlerType, new EventPrinter(watched.Name, instances), handler, false);
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
            ShownValue[] shown = Array.ConvertAll<object, ShownValue>(arguments, delegate(object argument) {
                return Formatter.ShowWhole(argument, null);
            });
            string[] texts = Array.ConvertAll<ShownValue, string>(shown, delegate(ShownValue one) { return one.Text; });
            Output.Line("event " + m_name + "(" + string.Join(", ", texts) + ")");
            for (int i = 0; i < shown.Length; ++i)
                shown[i].PrintWay(m_instances.NameFor(shown[i], arguments[i], null));
        }
    }
}
