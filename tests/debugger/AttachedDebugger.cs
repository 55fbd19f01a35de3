using System;
using System.Collections.Generic;
using System.IO;
using Mono.Debugger.Soft;
using Mirror = Mono.Debugger.Soft.Value;

namespace OrvTest
{
    // A debugger that is attached to a session's workbench.
    internal sealed class AttachedDebugger : IDisposable
    {
        // What the first event names: the runtime's main thread.
        public readonly ThreadMirror First;
        private readonly Queue<Event> m_events = new Queue<Event>();
        private bool m_isGone;

        public AttachedDebugger(DebuggedSession session)
        {
            Vm = session.Attach();
            First = Next<VMStartEvent>().Thread;
            Vm.EnableEvents(EventType.UserBreak);
        }

        public VirtualMachine Vm { get; private set; }

        // The next event, which must be of that type.
        public T Next<T>() where T : Event
        {
            if (m_events.Count == 0)
            {
                EventSet set = Vm.GetNextEventSet(DebuggedSession.LimitMilliseconds);
                if (set == null)
                    throw new Exception("waited for " + typeof(T).Name);
                foreach (Event one in set.Events)
                    m_events.Enqueue(one);
            }
            Event next = m_events.Dequeue();
            if (!(next is T))
                throw new Exception("not " + typeof(T).Name + " but " + next);
            return (T)next;
        }

        // Whether nothing stops within the time.
        public bool IsQuiet(int milliseconds)
        {
            return m_events.Count == 0 && Vm.GetNextEventSet(milliseconds) == null;
        }

        public TypeMirror Type(string name)
        {
            IList<TypeMirror> types = Vm.GetTypes(name, false);
            if (types.Count != 1)
                throw new Exception(types.Count + " types " + name);
            return types[0];
        }

        // A breakpoint at the line of the source whose remark is the text; as a debugger binds it, by the full path.
        public int BreakAt(string source, string remark)
        {
            string[] lines = File.ReadAllLines(source);
            int number = 1 + Array.FindIndex(lines, delegate(string line) { return line.EndsWith("// " + remark); });
            foreach (TypeMirror type in Vm.GetTypesForSourceFile(source, false))
            {
                foreach (MethodMirror method in type.GetMethods())
                {
                    foreach (Location location in method.Locations)
                    {
                        if (location.LineNumber == number && location.SourceFile == source)
                        {
                            Vm.SetBreakpoint(method, location.ILOffset);
                            return number;
                        }
                    }
                }
            }
            throw new Exception("no code at " + source + ":" + number);
        }

        public StackFrame Step(ThreadMirror thread, StepDepth depth)
        {
            StepEventRequest step = Vm.CreateStepRequest(thread);
            step.Size = StepSize.Line;
            step.Depth = depth;
            step.Enable();
            Vm.Resume();
            Next<StepEvent>();
            step.Disable();
            return thread.GetFrames()[0];
        }

        public void Detach()
        {
            m_isGone = true;
            Vm.Detach();
        }

        public void Dispose()
        {
            if (!m_isGone)
                Vm.ForceDisconnect();
        }

        public static object Local(StackFrame frame, string name)
        {
            return Plain(frame.GetValue(frame.GetVisibleVariableByName(name)));
        }

        public static object Field(Mirror of, string name)
        {
            ObjectMirror whole = (ObjectMirror)of;
            return Plain(whole.GetValue(whole.Type.GetField(name)));
        }

        // Numbers and texts as they are, boxed ones too; enumerations by name; null; other objects by their type's name.
        public static object Plain(Mirror value)
        {
            PrimitiveValue primitive = value as PrimitiveValue;
            if (primitive != null)
                return primitive.Value;
            StringMirror text = value as StringMirror;
            if (text != null)
                return text.Value;
            EnumMirror constant = value as EnumMirror;
            if (constant != null)
                return constant.StringValue;
            StructMirror boxed = value as StructMirror;
            if (boxed != null && boxed.Type.IsPrimitive)
                return Plain(boxed.Fields[0]);
            return ((ObjectMirror)value).Type.FullName;
        }
    }
}
