using System;
using System.Collections.Generic;
using System.Reflection;

namespace OrvWorkBench
{
    // Examples of calling, reading and setting.
    internal sealed partial class Examples
    {
        private static readonly string[] s_common = { "ToString", "Equals", "GetHashCode", "GetType", "Dispose", "Close" };

        private delegate string Line(string target, MemberInfo member);

        private void AddCalls()
        {
            AddOfInstances(CallOf);
            if (m_lines.Count == 0)
                AddOfInstances(VoidCallOf);
            AddOfTypes(StaticCallOf);
            if (m_lines.Count == 0)
                Add("System.Math.Max(1, 2)");
        }

        private void AddReads()
        {
            AddOfInstances(ReadOf);
            AddOfTypes(ReadOf);
            if (m_lines.Count == 0)
                Add("System.Math.PI");
        }

        private void AddSets()
        {
            AddOfInstances(SetOf);
            AddWatch();
            foreach (Type type in LoadedTypes())
            {
                if (IsFull || string.IsNullOrEmpty(type.Namespace))
                    continue;
                Add("using " + type.Namespace);
                return;
            }
            Add("using System.Text");
        }

        // In place of a second property.
        private void AddWatch()
        {
            foreach (string name in m_at.Instances.Names)
            {
                Node node = NodeOf(name);
                string watched = node == null ? null : EventOf(node);
                if (watched == null)
                    continue;
                if (m_lines.Count > 1)
                    m_lines.RemoveRange(1, m_lines.Count - 1);
                Add(WrittenName.Of(name) + "." + watched + " += watch");
                return;
            }
        }

        // The first one that can be watched; null when there is none.
        private string EventOf(Node node)
        {
            foreach (ShownMember member in ReachableMembers.OfValue(node.MemberType))
            {
                EventInfo watched = member.Member as EventInfo;
                if (watched != null && WrittenName.Of(watched.Name) != null && m_at.CanWatch(watched, node.Object))
                    return WrittenName.Of(watched.Name);
            }
            return null;
        }

        // Two lines of each instance, so that there is room for another one.
        private void AddOfInstances(Line make)
        {
            foreach (string name in m_at.Instances.Names)
            {
                Node node = IsFull ? null : NodeOf(name);
                if (node != null)
                    AddOf(WrittenName.Of(name), ReachableMembers.OfValue(node.MemberType), make, 2);
            }
        }

        // One line of each type.
        private void AddOfTypes(Line make)
        {
            foreach (Type type in LoadedTypes())
            {
                if (IsFull)
                    return;
                AddOf(TypeNames.Show(type), ReachableMembers.OfType(type), make, 1);
            }
        }

        private void AddOf(string target, List<ShownMember> members, Line make, int count)
        {
            int greatest = m_lines.Count + count;
            foreach (ShownMember member in members)
            {
                if (IsFull || m_lines.Count == greatest)
                    return;
                string line = null;
                if (!IsCommon(member.Member))
                    Guard.Run(delegate() { line = make(target, member.Member); });
                if (line != null)
                    Add(line);
            }
        }

        // What every object has, what ends one's life, what may wait for ever, and what no command can name.
        private static bool IsCommon(MemberInfo member)
        {
            Type holder = member.DeclaringType;
            return holder == typeof(object) || holder == typeof(Enum) || holder == typeof(ValueType) || WrittenName.Of(member.Name) == null ||
                   Array.IndexOf(s_common, member.Name) >= 0 || member.Name.StartsWith("Read", StringComparison.Ordinal) ||
                   member.Name.StartsWith("Wait", StringComparison.Ordinal);
        }

        // Null for what gives nothing back, and for what cannot be written.
        private string CallOf(string target, MemberInfo member)
        {
            MethodInfo method = member as MethodInfo;
            return method == null || method.ReturnType == typeof(void) || !IsPlain(method.ReturnType) ? null : AnyCallOf(target, method);
        }

        private string VoidCallOf(string target, MemberInfo member)
        {
            MethodInfo method = member as MethodInfo;
            return method == null ? null : AnyCallOf(target, method);
        }

        private string AnyCallOf(string target, MethodInfo method)
        {
            string arguments = method.IsGenericMethod ? null : SampleValues.ForAll(method.GetParameters(), c_small);
            string call = target + "." + WrittenName.Of(method.Name) + arguments;
            return arguments != null && Binds(call) ? call : null;
        }

        // A call that takes nothing is not told from one that does something.
        private string StaticCallOf(string target, MemberInfo member)
        {
            MethodInfo method = member as MethodInfo;
            return method == null || method.GetParameters().Length == 0 ? null : CallOf(target, member);
        }

        private string ReadOf(string target, MemberInfo member)
        {
            FieldInfo field = member as FieldInfo;
            PropertyInfo property = member as PropertyInfo;
            bool isRead = field != null ? IsPlain(field.FieldType)
                                        : property != null && IsPlain(property.PropertyType) && Members.Accessor(property, false) != null;
            string read = target + "." + WrittenName.Of(member.Name);
            return isRead && Binds(read) ? read : null;
        }

        // Pointers have no place in a command.
        private static bool IsPlain(Type type)
        {
            return !type.IsPointer && !type.IsByRef;
        }

        private string SetOf(string target, MemberInfo member)
        {
            PropertyInfo property = member as PropertyInfo;
            FieldInfo field = member as FieldInfo;
            bool isSet = property != null ? Members.Accessor(property, true) != null : field != null && !field.IsInitOnly && !field.IsLiteral;
            string value = isSet ? SampleValues.For(property != null ? property.PropertyType : field.FieldType, c_middling) : null;
            return value == null ? null : target + "." + WrittenName.Of(member.Name) + " = " + value;
        }
    }
}
