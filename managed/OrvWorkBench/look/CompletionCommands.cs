using System;
using System.Collections.Generic;
using System.Reflection;

namespace OrvWorkBench
{
    // What each command takes.
    internal sealed partial class Completion
    {
        private const string c_walk = "walk";
        private const string c_walkShown = "walk(sequence, [int first], [int count])";

        private void Complete(string word, QuestionText question)
        {
            switch (word)
            {
            case "create":
                if (m_text.Count >= 2 && m_text[0].Kind == TokenKind.Name && m_text[1].Is("="))
                    CompleteFrom(2, Place.Made);
                break;
            case "invoke":
            case "get":
                int first = m_text.Count >= 2 && m_text[0].Kind == TokenKind.Name && m_text[1].Is("=") ? 2 : 0;
                CompleteFrom(first, Place.Target);
                if (word == "invoke" && m_text.Count == first && !m_at.Instances.Has(c_walk))
                    m_list.AddName(CompletionGroup.Word, c_walk, "(", "word", c_walkShown);
                break;
            case "set":
                CompleteSet();
                break;
            case "delete":
                CompleteDelete();
                break;
            case "members":
            case "dump":
                if (question.Arguments.Count == 0)
                    CompleteFrom(0, Place.Value);
                else
                    CompleteBehindSubject(word, question.Arguments);
                break;
            case "find":
                CompleteFind(question.IsBehindArrow);
                break;
            case "types":
                CompleteFrom(0, Place.Listed);
                break;
            }
        }

        private void CompleteSet()
        {
            if (IsUsing() && (m_text.Count == 1 || m_text[1].Kind == TokenKind.Name))
            {
                CompleteUsing();
                return;
            }
            int sign = SignOfSet();
            if (sign < 0)
            {
                CompleteFrom(0, Place.Assigned);
                if (m_text.Count == 0)
                    m_list.AddWord("using");
                else if (m_list.IsAtStart && IsEvent(m_text.Count))
                    m_list.AddWord("+= watch");
                return;
            }
            if (sign == m_text.Count - 1 && m_text[sign].Is("="))
                AddWanted(sign);
            if (m_text[sign].Is("="))
                CompleteFrom(sign + 1, Place.Value);
            else if (sign == m_text.Count - 1 && IsEvent(sign))
                m_list.AddWord("watch");
        }

        // Whether the tokens before that one name an event.
        private bool IsEvent(int end)
        {
            if (!m_text.EndsOperand(end - 1) || m_text.Innermost >= 0)
                return false;
            MemberExpression target = Parser.ParseSubject(m_text.TextOf(0, end - 1)) as MemberExpression;
            Node node = target == null ? null : m_statics.Of(target.Target);
            return node != null && node.MemberType != null && Members.FindData(node.MemberType, target.Part.Name, node.Flags) is EventInfo;
        }

        // The "=", "+=" or "-=" between target and value; -1 when there is none yet.
        private int SignOfSet()
        {
            for (int i = 0; i < m_text.Count; ++i)
            {
                if (m_text.ParentOf(i) < 0 && (m_text[i].Is("=") || m_text[i].Is("+=") || m_text[i].Is("-=")))
                    return i;
            }
            return -1;
        }

        // "using N.M" or "using Name = N.Type"
        private void CompleteUsing()
        {
            if (m_text.Count >= 3 && m_text[2].Is("="))
            {
                CompleteFrom(3, Place.Type);
                return;
            }
            string space = "";
            for (int i = 1; i + 1 < m_text.Count; i += 2)
            {
                if (m_text[i].Kind != TokenKind.Name || !m_text[i + 1].Is("."))
                    return;
                space += (space.Length > 0 ? "." : "") + m_text[i].Text;
            }
            if (m_text.Count % 2 == 1)
                m_types.AddNamespaces(space, "");
        }

        private bool IsUsing()
        {
            return m_text.Count > 0 && m_text[0].Kind == TokenKind.Name && m_text[0].Text == "using";
        }

        private void CompleteDelete()
        {
            if (m_text.Count == 0)
            {
                AddInstances(false);
                m_list.AddWord("using");
            }
            else if (IsUsing())
                CompleteUsed();
        }

        // The name of a using, which is one entry with all its parts.
        private void CompleteUsed()
        {
            string typed = m_text.Count == 1 ? m_text.Word : m_text.TextOf(1, m_text.Count - 1) + m_text.Word;
            int at = m_list.At - (typed.Length - m_text.Word.Length);
            foreach (string alias in m_at.Usings.Aliases)
            {
                Type type = m_at.Usings.Alias(alias);
                m_list.AddWhole(CompletionGroup.Type, typed, at, alias, KnownTypes.Kind(type), TypeNames.Show(type));
            }
            foreach (string space in m_at.Usings.Namespaces)
                m_list.AddWhole(CompletionGroup.Namespace, typed, at, space, "namespace", space);
        }
    }
}
