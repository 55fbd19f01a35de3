using System;
using System.Collections.Generic;

namespace OrvWorkBench
{
    // The text of a question up to the cursor, cut as the client cuts it: arguments end with a blank that stands in no
    // brackets and no string.
    internal sealed class QuestionText
    {
        private const string c_arrow = "->";

        // Those before the one that is being typed.
        public readonly List<string> Arguments = new List<string>();
        // Of "find string -> dou" the part behind the arrow is being typed.
        public readonly bool IsBehindArrow;
        // Where in the line the text begins that is being typed.
        public readonly int At;

        // The word of the command ends there in the line.
        public QuestionText(string word, string line, int end)
        {
            At = end;
            if (word == "find")
            {
                int arrow = line.IndexOf(c_arrow, StringComparison.Ordinal);
                IsBehindArrow = arrow >= end;
                if (IsBehindArrow)
                    At = arrow + c_arrow.Length;
            }
            else if (word == "members" || word == "dump")
                At = CutArguments(line, end);
        }

        // Where the last one begins.
        private int CutArguments(string line, int from)
        {
            for (;;)
            {
                int start = from;
                while (start < line.Length && char.IsWhiteSpace(line[start]))
                    ++start;
                int end = EndOfArgument(line, start);
                if (end == line.Length)
                    return Arguments.Count == 0 ? from : start;
                Arguments.Add(line.Substring(start, end - start));
                from = end;
            }
        }

        private static int EndOfArgument(string line, int start)
        {
            int depth = 0;
            char quote = '\0';
            for (int i = start; i < line.Length; ++i)
            {
                char sign = line[i];
                if (quote != '\0')
                {
                    if (sign == '\\')
                        ++i;
                    else if (sign == quote)
                        quote = '\0';
                }
                else if (sign == '"' || sign == '\'')
                    quote = sign;
                else if ("([{<".IndexOf(sign) >= 0)
                    ++depth;
                else if (")]}>".IndexOf(sign) >= 0)
                    --depth;
                else if (depth <= 0 && char.IsWhiteSpace(sign))
                    return i;
            }
            return line.Length;
        }
    }
}
