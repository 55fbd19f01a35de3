using System;
using System.Collections.Generic;
using System.Reflection;

namespace OrvWorkBench
{
    // What questions take that no other command does.
    internal sealed partial class Completion
    {
        // "members t Tar", "dump t 2 20"
        private void CompleteBehindSubject(string word, IList<string> arguments)
        {
            if (m_text.Count > 0 || m_text.IsEscaped)
                return;
            if (word == "members" && arguments.Count == 1)
                AddPatterns(MemberList.Of(TypeOf(arguments[0])));
            else if (word == "dump" && m_list.IsAtStart && arguments.Count == 1)
                m_list.AddHint("argument", "[depth]  how deep, 2 without it");
            else if (word == "dump" && m_list.IsAtStart && arguments.Count == 2 && IsNumber(arguments[1]))
                m_list.AddHint("argument", "[first]  of a collection, which element is the first");
        }

        // What the subject is, as far as that can be told without running it. Throws CommandError.
        private Type TypeOf(string subject)
        {
            Type listed = m_at.Listed(subject);
            Node node = listed != null ? Node.Of(listed) : m_statics.Of(Parser.ParseSubject(subject));
            Type type = node == null ? null : node.Type ?? node.MemberType;
            if (type == null)
                throw new CommandError(-1, "not to be told");
            return type;
        }

        private void AddPatterns(IList<MemberInfo> members)
        {
            foreach (MemberInfo member in members)
            {
                if (!(member is ConstructorInfo) && m_list.Fits(member.Name))
                    AddPattern(new ShownMember(member), "");
            }
        }

        // A pattern knows nothing of what a name is in C#.
        private void AddPattern(ShownMember shown, string origin)
        {
            string name = shown.Member.Name.Split('`')[0];
            m_list.AddInstead(CompletionGroup.Member, m_list.At, name, name, MemberTexts.KindOf(shown.Member), shown.Shown + origin);
        }

        // "find Tar", "find string -> dou"
        private void CompleteFind(bool isBehindArrow)
        {
            int last = m_text.Count - 1;
            if (last < 0 && !isBehindArrow && !m_list.IsAtStart)
                AddFound();
            if (!isBehindArrow && m_list.IsAtStart && (last < 0 || (m_text.EndsOperand(last) && m_text.Innermost < 0)))
                m_list.AddWord("->");
            CompleteFrom(0, Place.Type);
        }

        private void AddFound()
        {
            MemberSearch wanted = new MemberSearch(m_text.Word + "*");
            foreach (Assembly assembly in m_at.Assemblies.Loaded)
            {
                foreach (Type type in TypeFinder.PublicTypes(assembly))
                {
                    foreach (ShownMember member in MemberList.DeclaredBy(type, wanted))
                        AddPattern(member, member.Member is Type ? "" : "  // of " + TypeNames.Show(type));
                }
            }
        }

        private static bool IsNumber(string text)
        {
            foreach (char digit in text)
            {
                if (digit < '0' || digit > '9')
                    return false;
            }
            return true;
        }
    }
}
