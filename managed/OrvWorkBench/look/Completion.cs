using System;
using System.Collections.Generic;
using System.Reflection;

namespace OrvWorkBench
{
    // What may follow the cursor in a command line. Nothing of the user's runs for it.
    internal sealed partial class Completion
    {
        // What a place in the text takes.
        private enum Place
        {
            // What get reads and invoke calls.
            Target,
            // What set assigns to, or watches.
            Assigned,
            Value,
            Type,
            // A type behind "new".
            Made,
            // A type in a list, of which the name alone counts.
            Listed
        }

        private readonly Surroundings m_at;
        private readonly StaticTypes m_statics;
        private readonly PartialText m_text;
        private readonly CompletionList m_list;
        private readonly KnownTypes m_types;
        // The tokens of the expression that the cursor is in begin here, with what may stand there.
        private int m_first;
        private Place m_start;

        private Completion(Surroundings at, PartialText text, CompletionList list)
        {
            m_at = at;
            m_statics = new StaticTypes(at.Instances, at.Types);
            m_text = text;
            m_list = list;
            m_types = new KnownTypes(at, list);
            m_types.Start = list.At;
        }

        // The ways to go on at the end of the line, which begins with the word of a command.
        public static CompletionList Of(Surroundings at, string line)
        {
            int word = 0;
            while (word < line.Length && char.IsWhiteSpace(line[word]))
                ++word;
            int end = word;
            while (end < line.Length && !char.IsWhiteSpace(line[end]))
                ++end;
            string command = line.Substring(word, end - word).ToLowerInvariant();
            QuestionText question = new QuestionText(command, line, end);
            PartialText text = end == line.Length ? null : PartialText.Read(line.Substring(question.At));
            if (text == null)
                return new CompletionList("", false, line.Length, line.Length);
            CompletionList list = new CompletionList(text.Word, text.IsEscaped, question.At + text.WordAt, line.Length);
            try
            {
                new Completion(at, text, list).Complete(command, question);
            }
            catch (Exception error)
            {
                // What stands before the cursor means nothing, or what it names needs an assembly that is not there.
                if (!(error is CommandError) && !(error is TypeLoadException) && !(error is System.IO.IOException))
                    throw;
            }
            return list;
        }

        // In an expression or a type's name that begins with that token.
        private void CompleteFrom(int first, Place start)
        {
            m_first = first;
            m_start = start;
            int last = m_text.Count - 1;
            int open = m_text.Innermost;
            if (last < first)
                Begin(start);
            else if (m_text[last].Is("."))
                CompleteBehind(last, false);
            else if (m_text[last].Is("+") && last > first && m_text.EndsOperand(last - 1))
                CompleteBehind(last, true);
            else if (m_text[last].Is("new"))
                Begin(Place.Made);
            else if (m_text[last].Is("out"))
                AddInstances(false);
            else if (last == open || (open >= first && m_text[last].Is(",")))
                CompleteIn(open);
            else if (BeginsOperand(last))
                BeginBehind(last);
        }

        private void BeginBehind(int last)
        {
            if (m_text[last].Is("]"))
            {
                AddOfAssembly(last, "", PlaceAt(m_text.PartnerOf(last)));
                return;
            }
            if (m_text[last].Is("=") && m_text.ParentOf(last) >= m_first)
                AddEnumerators(TypeOfSetting(last));
            Begin(Place.Value);
        }

        // Whether an operand stands behind an operator, the sign in braces, a cast, or "ref".
        private bool BeginsOperand(int last)
        {
            Token token = m_text[last];
            bool isInside = m_text.Innermost >= m_first || m_start == Place.Value;
            if (token.Is(")"))
                return m_text.IsCast(last, m_first);
            if (token.Is("]"))
                return m_text.PartnerOf(last) >= m_first && m_text.IsPrefix(m_text.PartnerOf(last), m_first);
            if (token.Is("=") || token.Is("ref") || token.Is(":"))
                return m_text.Innermost >= m_first;
            return isInside && (token.Is("|") || token.Is("-") || token.Is("+") || token.Is("!") || token.Is("~"));
        }
    }
}
