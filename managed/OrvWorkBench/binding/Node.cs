using System;
using System.Reflection;

namespace OrvWorkBench
{
    // What a dotted name stands for: a type (for its static members) or a value.
    internal sealed class Node
    {
        public const BindingFlags InstanceMembers = BindingFlags.Public | BindingFlags.Instance;
        public const BindingFlags StaticMembers = BindingFlags.Public | BindingFlags.Static;

        public readonly Type Type;
        public readonly Value Value;
        // Where a structure was read from, so that a change of it can be put back; null where there is no such place.
        public Variable Variable;
        // The structure's box belongs to the user's name or was just made: changing it changes the very value.
        public bool IsOwner;

        private Node(Type type, Value value)
        {
            Type = type;
            Value = value;
        }

        public static Node Of(Type type)
        {
            return new Node(type, null);
        }

        public static Node Of(Value value)
        {
            return new Node(null, value);
        }

        public static Node Owner(Value value)
        {
            Node node = Of(value);
            node.IsOwner = true;
            return node;
        }

        public Type MemberType
        {
            get { return Type ?? Value.Type; }
        }

        public object Object
        {
            get { return Type != null ? null : Value.Data; }
        }

        public BindingFlags Flags
        {
            get { return Type != null ? StaticMembers : InstanceMembers; }
        }

        public string Kind
        {
            get { return Type != null ? "static" : "instance"; }
        }

        // A copy of a structure, whose change nobody would see.
        public bool IsCopy
        {
            get { return Type == null && Value.Type != null && Value.Type.IsValueType && !IsOwner && Variable == null; }
        }

        // Puts a structure back to where it was read from. To be called when it may have changed.
        public void Changed()
        {
            if (Variable != null)
                Variable.Store(Object);
        }
    }

    // A field or an array's element that holds a structure.
    internal sealed class Variable
    {
        private readonly Node m_holder;
        private readonly FieldInfo m_field;
        private readonly Array m_array;
        private readonly int[] m_at;

        // A field of the holder, which may be a structure itself.
        public Variable(Node holder, FieldInfo field)
        {
            m_holder = holder;
            m_field = field;
        }

        public Variable(Array array, int[] at)
        {
            m_array = array;
            m_at = at;
        }

        public void Store(object data)
        {
            if (m_array != null)
            {
                m_array.SetValue(data, m_at);
                return;
            }
            UserCode.SetField(m_field, m_holder.Object, data);
            m_holder.Changed();
        }
    }
}
