using System;
using System.Collections.Generic;
using System.Reflection;

namespace OrvTest
{
    // Gives away, in every way that code can, what it finds of the class with a name.
    public class Finder
    {
        private readonly Type m_type;
        public Type Field;

        public Finder(string name)
        {
            m_type = Type.GetType(name);
            Field = m_type;
        }

        public Type Property { get { return m_type; } }
        public Type this[int index] { get { return m_type; } }
        public Type[] Types { get { return new Type[] { typeof(int), m_type }; } }
        public Type Method() { return m_type; }
        public bool Out(out string name, out object found) { name = m_type.Name; found = m_type; return true; }
        public bool Ref(ref object found) { found = m_type; return true; }
        public void Give(Converter<Type, string> take) { take(m_type); }
        public static string NameOf(Type type) { return type.Name; }
        public static implicit operator Type(Finder finder) { return finder.m_type; }
        public static Type operator -(Finder finder) { return finder.m_type; }
        public static Type operator |(Finder finder, Finder other) { return finder.m_type; }
        public delegate object Giving();
        public Giving Callback { get { return delegate() { return m_type; }; } }
        public IEnumerable<Type> Sequence() { yield return m_type; }

        public object Part(string kind)
        {
            MethodInfo method = m_type.GetMethod("Load");
            switch (kind)
            {
            case "object":
                return Activator.CreateInstance(m_type, true);
            case "method":
                return method;
            case "parameter":
                return method.GetParameters()[0];
            case "constructor":
                return m_type.GetConstructors()[0];
            case "field":
                return m_type.GetFields(BindingFlags.NonPublic | BindingFlags.Instance)[0];
            case "module":
                return m_type.Module;
            case "assembly":
                return m_type.Assembly;
            case "array":
                return Array.CreateInstance(m_type, 1);
            case "array's type":
                return m_type.MakeArrayType(2);
            case "reference":
                return m_type.MakeByRefType();
            case "list":
                return Activator.CreateInstance(typeof(List<>).MakeGenericType(m_type));
            case "list's type":
                return typeof(List<>).MakeGenericType(m_type);
            case "map of lists":
                return typeof(Dictionary<,>).MakeGenericType(typeof(int), typeof(List<>).MakeGenericType(m_type));
            default:
                throw new ArgumentException(kind);
            }
        }
    }

    // A type that says nothing of itself.
    public class MuteType : TypeDelegator
    {
        public override Assembly Assembly { get { throw new NotSupportedException("mute"); } }
        public override string ToString() { return "a mute type"; }
    }

    public class Handlers
    {
        public event EventHandler Raised;
        public EventHandler All() { return Raised; }
    }
}
