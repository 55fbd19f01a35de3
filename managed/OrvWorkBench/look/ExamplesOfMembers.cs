using System;
using System.Collections.Generic;
using System.Reflection;

namespace OrvWorkBench
{
    // Examples of creating, calling, reading and setting, and of questions.
    internal sealed partial class Examples
    {
        // A call takes small numbers, a new object and a property middling ones.
        private const int c_small = 1;
        private const int c_middling = 20;

        private static readonly string[] s_common = { "ToString", "Equals", "GetHashCode", "GetType", "Dispose", "Close" };

        private delegate string Line(string target, MemberInfo member);

        private void AddCreations()
        {
            foreach (Type type in LoadedTypes())
            {
                if (IsFull)
                    return;
                string creation = CreationOf(type);
                if (creation != null)
                    Add(NewName(type.Name) + " = " + creation);
            }
            if (m_lines.Count == 0)
                Add(NewName("b") + " = System.Text.StringBuilder(\"abc\")");
            Add(NewName("list") + " = System.Collections.Generic.List<int> { 1, 2, 3 }");
        }

        // By the constructor with the fewest arguments, but rather one than none; null when none can be written.
        private string CreationOf(Type type)
        {
            string best = null;
            int least = int.MaxValue;
            if (!KnownTypes.IsMade(type) || type.IsAbstract || type.IsEnum)
                return null;
            foreach (ConstructorInfo constructor in type.GetConstructors(Node.InstanceMembers))
            {
                ParameterInfo[] parameters = constructor.GetParameters();
                string arguments = SampleValues.ForAll(parameters, c_middling);
                int weight = parameters.Length == 0 ? 3 : parameters.Length;
                if (arguments == null || weight >= least || !Binds("new " + TypeNames.Show(type) + arguments))
                    continue;
                best = TypeNames.Show(type) + arguments;
                least = weight;
            }
            return best;
        }

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
                Node node = NodeOf(WrittenName.Of(name));
                if (node == null || node.Type != null || node.MemberType == null || node.Object == null)
                    continue;
                foreach (ReachableMember member in ReachableMembers.OfValue(node.MemberType))
                {
                    EventInfo watched = member.Member as EventInfo;
                    if (watched == null || WrittenName.Of(watched.Name) == null || !m_at.CanWatch(watched, node.Object))
                        continue;
                    if (m_lines.Count > 1)
                        m_lines.RemoveRange(1, m_lines.Count - 1);
                    Add(WrittenName.Of(name) + "." + WrittenName.Of(watched.Name) + " += watch");
                    return;
                }
            }
        }

        // Two lines of each instance, so that there is room for another one.
        private void AddOfInstances(Line make)
        {
            foreach (string name in m_at.Instances.Names)
            {
                Node node = IsFull ? null : NodeOf(WrittenName.Of(name));
                if (node == null || node.Type != null || node.MemberType == null || node.Object == null)
                    continue;
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

        private void AddOf(string target, List<ReachableMember> members, Line make, int count)
        {
            int greatest = m_lines.Count + count;
            foreach (ReachableMember member in members)
            {
                if (IsFull || m_lines.Count == greatest)
                    return;
                string line = IsCommon(member.Member) ? null : make(target, member.Member);
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
            return method == null || method.ReturnType == typeof(void) ? null : AnyCallOf(target, method);
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
            bool isRead = field != null || (property != null && Members.Accessor(property, false) != null);
            string read = target + "." + WrittenName.Of(member.Name);
            return isRead && Binds(read) ? read : null;
        }

        private string SetOf(string target, MemberInfo member)
        {
            PropertyInfo property = member as PropertyInfo;
            FieldInfo field = member as FieldInfo;
            bool isSet = property != null ? Members.Accessor(property, true) != null : field != null && !field.IsInitOnly && !field.IsLiteral;
            string value = isSet ? SampleValues.For(property != null ? property.PropertyType : field.FieldType, c_middling) : null;
            return value == null ? null : target + "." + WrittenName.Of(member.Name) + " = " + value;
        }

        private void AddQuestions()
        {
            bool isOfTypes = m_word == "types" || m_word == "find";
            if (m_word == "types")
                Add("");
            foreach (string name in m_at.Instances.Names)
            {
                if (!isOfTypes && NodeOf(WrittenName.Of(name)) != null)
                    Add(WrittenName.Of(name));
            }
            foreach (Type type in LoadedTypes())
            {
                if (IsFull)
                    return;
                AddQuestionOf(type);
            }
            if (m_lines.Count < 2)
                AddUsualQuestion();
        }

        private void AddQuestionOf(Type type)
        {
            if (m_word == "types")
                Add(type.Name);
            else if (m_word == "members")
                Add(TypeNames.Show(type));
            else if (m_word == "dump")
                AddOf(TypeNames.Show(type), ReachableMembers.OfType(type), ReadOf, 1);
            else if (type.GetMethods(Node.InstanceMembers | BindingFlags.DeclaredOnly).Length > 0)
                Add("-> " + type.Name);
        }

        private void AddUsualQuestion()
        {
            if (m_word == "types")
                Add("System.Text.*");
            else if (m_word == "members")
                Add("string Index");
            else if (m_word == "find")
                Add("-> string");
            else
                Add("System.Environment.OSVersion");
        }

        private Node NodeOf(string text)
        {
            try
            {
                return m_statics.Of(Parser.ParseSubject(text));
            }
            catch (CommandError)
            {
                return null;
            }
        }
    }
}
