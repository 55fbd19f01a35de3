using System;
using System.Collections.Generic;
using System.Reflection;

namespace OrvWorkBench
{
    // What stands in brackets: arguments, indices, elements, type arguments.
    internal sealed partial class Completion
    {
        private void CompleteIn(int open)
        {
            Token bracket = m_text[open];
            if (bracket.Is("<"))
                Begin(Place.Type);
            else if (bracket.Is("("))
                CompleteArguments(open);
            else if (bracket.Is("["))
                CompleteIndices(open);
            else
                CompleteFilling(open);
        }

        private void CompleteArguments(int open)
        {
            if (open > m_first && m_text[open - 1].Is("typeof"))
            {
                Begin(Place.Type);
                return;
            }
            if (!m_text.IsPrefix(open, m_first))
            {
                if (m_list.IsAtStart)
                    AddHints(open);
                m_list.AddWord("ref");
                m_list.AddWord("out");
            }
            Begin(Place.Value);
        }

        private void AddHints(int open)
        {
            int start = m_text.StartOf(open - 1, m_first);
            if (start < 0)
                return;
            int given = m_text.CommasSince(open);
            bool isNew = m_text[start].Is("new");
            bool isCreate = start == m_first && m_start == Place.Made;
            if (isNew || isCreate)
            {
                AddConstructors(m_text.TextOf(start + (isNew ? 1 : 0), open - 1), given);
                return;
            }
            Expression callee = Parser.ParseSubject(m_text.TextOf(start, open - 1));
            NameExpression name = callee as NameExpression;
            if (name != null && name.Part.Name == "walk" && !m_at.Instances.Has("walk"))
                m_list.AddHint("method", "walk(sequence, [int first], [int count])");
            else
                AddOverloads(callee, given);
        }

        private void AddConstructors(string name, int given)
        {
            Node node = m_statics.Of(Parser.ParseSubject(name));
            if (node == null || node.Type == null)
                return;
            MethodInfo shape = MethodGroup.ShapeOf(node.Type);
            if (shape != null && given == 0)
                m_list.AddHint("constructor", TypeNames.Show(node.Type) + "(" + Signatures.Show(shape) + ")");
            foreach (ConstructorInfo constructor in shape == null && !node.Type.IsAbstract ? node.Type.GetConstructors(Node.InstanceMembers)
                                                                                           : new ConstructorInfo[0])
                AddSignature("constructor", constructor, given);
            if (given == 0 && node.Type.IsValueType && node.Type.GetConstructor(Type.EmptyTypes) == null)
                m_list.AddHint("constructor", TypeNames.Show(node.Type) + "()");
        }

        private void AddOverloads(Expression callee, int given)
        {
            MemberExpression member = callee as MemberExpression;
            Node target = member == null ? null : m_statics.Of(member.Target);
            List<MethodBase> methods = new List<MethodBase>();
            if (target != null && target.MemberType != null)
                methods = Members.FindMethods(target.MemberType, member.Part.Name, target.Flags);
            foreach (MethodBase method in methods)
                AddSignature("method", method, given);
            Node called = methods.Count > 0 ? null : m_statics.Of(callee);
            MethodInfo shape = called == null || called.Type != null || called.MemberType == null ? null : MethodGroup.ShapeOf(called.MemberType);
            if (shape != null)
                AddSignature("method", shape, given);
        }

        // A method that can take one more argument than so many.
        private void AddSignature(string kind, MethodBase method, int given)
        {
            ParameterInfo[] parameters = method.GetParameters();
            bool takesMany = parameters.Length > 0 && Signatures.TakesMany(parameters[parameters.Length - 1]);
            if (given == 0 || parameters.Length > given || takesMany)
                m_list.AddHint(kind, MemberTexts.Show(method));
        }

        private void CompleteIndices(int open)
        {
            int start = m_text.StartOf(open - 1, m_first);
            if (m_text.IsPrefix(open, m_first) || start < 0)
                return;
            bool isMade = m_text[start].Is("new") || (start == m_first && m_start == Place.Made);
            Node node = isMade ? null : m_statics.Of(Parser.ParseSubject(m_text.TextOf(start, open - 1)));
            if (!isMade && (node == null || node.Type != null || node.MemberType == null))
                return;
            if (node != null && m_list.IsAtStart)
                AddIndexers(node.MemberType);
            Begin(Place.Value);
        }

        private void AddIndexers(Type type)
        {
            foreach (PropertyInfo indexer in Members.FindIndexers(type))
            {
                if (indexer.GetGetMethod() != null || indexer.GetSetMethod() != null)
                    m_list.AddHint("indexer", MemberTexts.Show(indexer));
            }
            if (type.IsArray)
                m_list.AddHint("indexer", TypeNames.Show(type.GetElementType()) + " this[" + new string(',', type.GetArrayRank() - 1) + "]");
        }

        // Elements, or what is set in a new object.
        private void CompleteFilling(int open)
        {
            Type type = FilledAt(open);
            if (type == null)
            {
                Begin(Place.Value);
                return;
            }
            foreach (ReachableMember member in ReachableMembers.OfValue(type))
            {
                if (m_list.Fits(member.Member.Name) && (member.Member is PropertyInfo || member.Member is FieldInfo))
                    m_list.AddName(CompletionGroup.Member, member.Member.Name, "", MemberTexts.KindOf(member.Member), member.Shown);
            }
            if (Members.FindMethods(type, "Add", Node.InstanceMembers).Count > 0)
                Begin(Place.Value);
        }

        // The type of what the braces fill; null for elements of an array.
        private Type FilledAt(int open)
        {
            int start = open > m_first ? m_text.StartOf(open - 1, m_first) : -1;
            if (start < 0)
                return null;
            bool isNew = m_text[start].Is("new");
            if (!isNew && (start != m_first || m_start != Place.Made))
                return null;
            int end = open - 1;
            if (m_text[end].Is(")"))
                end = m_text.PartnerOf(end) - 1;
            if (m_text[end].Is("]"))
                return null;
            Node node = m_statics.Of(Parser.ParseSubject(m_text.TextOf(start + (isNew ? 1 : 0), end)));
            return node == null ? null : node.Type;
        }
    }
}
