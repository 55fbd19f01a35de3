using System;
using System.Reflection;

namespace OrvWorkBench
{
    // Examples of creating, and of questions.
    internal sealed partial class Examples
    {
        private void AddCreations()
        {
            foreach (Type type in LoadedTypes())
            {
                if (IsFull)
                    return;
                string creation = null;
                Guard.Run(delegate() { creation = CreationOf(type); });
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
            if (!KnownTypes.IsMade(type) || type.IsEnum || type.IsAbstract)
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

        private void AddQuestions()
        {
            bool isOfTypes = m_word == "types" || m_word == "find";
            if (m_word == "types")
                Add("");
            foreach (string name in m_at.Instances.Names)
            {
                if (!isOfTypes && NodeOf(name) != null)
                    Add(WrittenName.Of(name));
            }
            foreach (Type type in LoadedTypes())
            {
                if (IsFull)
                    return;
                Guard.Run(delegate() { AddQuestionOf(type); });
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
    }
}
