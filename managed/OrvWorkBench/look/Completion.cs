using System;
using System.Collections.Generic;
using System.Reflection;

namespace OrvWorkBench
{
    // What may follow the cursor in a command line. Nothing of the user's runs for it.
    internal sealed partial class Completion
    {
        // What can stand at a place in the text.
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

        private const string c_walk = "walk";
        private const string c_walkShown = "walk(sequence, [int first], [int count])";

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
            PartialText text = end == line.Length ? null : PartialText.Read(line.Substring(end));
            if (text == null)
                return new CompletionList("", false, line.Length, line.Length);
            CompletionList list = new CompletionList(text.Word, text.IsEscaped, end + text.WordAt, line.Length);
            try
            {
                new Completion(at, text, list).Complete(line.Substring(word, end - word));
            }
            catch (Exception error)
            {
                // What stands before the cursor means nothing, or what it names needs an assembly that is not there.
                if (!(error is CommandError) && !(error is TypeLoadException) && !(error is System.IO.IOException))
                    throw;
            }
            return list;
        }

        private void Complete(string word)
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
                CompleteFrom(0, Place.Value);
                break;
            case "types":
                CompleteFrom(0, Place.Listed);
                break;
            }
        }

        private void CompleteSet()
        {
            if (m_text.Count > 0 && m_text[0].Kind == TokenKind.Name && m_text[0].Text == "using" &&
                (m_text.Count == 1 || m_text[1].Kind == TokenKind.Name))
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
                return;
            }
            if (sign == m_text.Count - 1 && m_text[sign].Is("="))
                AddWanted(sign);
            if (m_text[sign].Is("="))
                CompleteFrom(sign + 1, Place.Value);
            else if (sign == m_text.Count - 1 && IsEvent(sign))
                m_list.AddWord("watch");
        }

        // Whether what stands before the sign is an event.
        private bool IsEvent(int sign)
        {
            MemberExpression target = Parser.ParseSubject(m_text.TextOf(0, sign - 1)) as MemberExpression;
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

        private void CompleteDelete()
        {
            if (m_text.Count == 0)
            {
                AddInstances(false);
                m_list.AddWord("using");
            }
            else if (m_text[0].Kind == TokenKind.Name && m_text[0].Text == "using")
                CompleteUsed();
        }

        // What ends a using: the whole name is one entry.
        private void CompleteUsed()
        {
            if (m_text.Count > 1)
                return;
            foreach (string alias in m_at.Usings.Aliases)
                m_list.AddName(CompletionGroup.Type, alias, "", KnownTypes.Kind(m_at.Usings.Alias(alias)), TypeNames.Show(m_at.Usings.Alias(alias)));
            foreach (string space in m_at.Usings.Namespaces)
                m_list.AddName(CompletionGroup.Namespace, space, "", "namespace", space);
        }

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

        // Types of the assembly whose name ends with that bracket, in one of its namespaces.
        private void AddOfAssembly(int close, string space, Place place)
        {
            string name = m_text.TextOf(m_text.PartnerOf(close) + 1, close - 1).Trim().Trim('"');
            Assembly assembly = m_at.Assemblies.Find(name);
            if (assembly != null)
                m_types.AddIn(assembly, space, FilterFor(place));
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

        // Behind the '.' or '+' at that index.
        private void CompleteBehind(int dot, bool isNested)
        {
            int start = m_text.StartOf(dot - 1, m_first);
            if (start < 0)
                return;
            Place place = PlaceAt(start);
            if (m_text.IsBareNew(start, dot - 1))
            {
                place = Place.Made;
                ++start;
            }
            if (start >= dot)
                return;
            Expression subject = Parser.ParseSubject(m_text.TextOf(start, dot - 1));
            Node node = m_statics.Of(subject);
            if (node != null)
                AddMembersOf(node, place, isNested);
            else if (!isNested)
                AddNamespace(start, NameOf(subject), place);
        }

        // What the operand that begins there is.
        private Place PlaceAt(int start)
        {
            if (start == m_first)
                return m_start;
            Token before = m_text[start - 1];
            int open = m_text.Innermost;
            if (before.Is("<") || (before.Is(",") && open >= 0 && m_text[open].Is("<")))
                return Place.Type;
            if (before.Is("(") && start >= 2 && m_text[start - 2].Is("typeof"))
                return Place.Type;
            return before.Is("new") ? Place.Made : Place.Value;
        }

        // "A.B.C"; null for what is no plain dotted name.
        private static string NameOf(Expression expression)
        {
            NameExpression name = expression as NameExpression;
            if (name != null)
                return name.Part.Arguments == null ? name.Part.Name : null;
            MemberExpression member = expression as MemberExpression;
            string target = member == null || member.IsNested || member.Part.Arguments != null ? null : NameOf(member.Target);
            return target == null ? null : target + "." + member.Part.Name;
        }

        // The name begins at that token, with its assembly if it says one.
        private void AddNamespace(int start, string name, Place place)
        {
            if (name != null && m_text[start].Is("["))
                AddOfAssembly(m_text.PartnerOf(start), name, place);
            else if (name != null)
            {
                m_types.Start = m_list.At - (m_text.WordAt - m_text[start].Position);
                m_types.AddIn(name, FilterFor(place));
            }
        }

        private static KnownTypes.Filter FilterFor(Place place)
        {
            return place == Place.Made ? new KnownTypes.Filter(KnownTypes.IsMade) : new KnownTypes.Filter(KnownTypes.IsAny);
        }

        private void AddMembersOf(Node node, Place place, bool isNested)
        {
            if (node.Type != null)
                m_types.AddNested(node.Type, FilterFor(place));
            if (isNested || IsOfType(place) || node.MemberType == null)
                return;
            foreach (ReachableMember member in node.Type != null ? ReachableMembers.OfType(node.Type) : ReachableMembers.OfValue(node.MemberType))
            {
                if (m_list.Fits(member.Member.Name) && IsWanted(member.Member, place))
                    m_list.AddName(CompletionGroup.Member, member.Member.Name, member.Member is MethodInfo ? "(" : "",
                                   MemberTexts.KindOf(member.Member), member.Shown);
            }
        }

        private static bool IsOfType(Place place)
        {
            return place == Place.Type || place == Place.Made || place == Place.Listed;
        }

        // Only set watches an event and assigns to what cannot be read.
        private static bool IsWanted(MemberInfo member, Place place)
        {
            if (place == Place.Assigned)
                return true;
            PropertyInfo property = member as PropertyInfo;
            return !(member is EventInfo) && (property == null || Members.Accessor(property, false) != null);
        }
    }
}
