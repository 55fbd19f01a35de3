using System;
using System.Collections.Generic;
using System.Reflection;

namespace OrvWorkBench
{
    // What can begin an operand.
    internal sealed partial class Completion
    {
        private static readonly string[] s_values = { "new", "typeof", "true", "false", "null" };
        private static readonly string[] s_targets = { "new", "typeof" };

        // Behind the open bracket or a comma in it.
        private void CompleteIn(int open)
        {
            Token bracket = m_text[open];
            if (bracket.Is("<"))
                Begin(Place.Type);
            else if (bracket.Is("("))
                CompleteArguments(open);
            else if (bracket.Is("["))
                CompleteBrackets(open);
            else
                CompleteFilling(open);
        }

        private void Begin(Place place)
        {
            if (!IsOfType(place))
            {
                AddInstances(true);
                foreach (string word in place == Place.Value ? s_values : s_targets)
                    m_list.AddWord(word);
            }
            else if (place == Place.Made && m_text.Count == m_first && m_start == Place.Made)
                m_list.AddWord("new");
            if (place != Place.Listed)
            {
                foreach (string word in TypeNames.Keywords)
                    m_list.AddWord(word);
            }
            KnownTypes.Filter filter = FilterFor(place);
            m_types.AddUsed(filter);
            m_types.AddIn("", filter);
        }

        private void AddInstances(bool withLast)
        {
            foreach (string name in m_at.Instances.Names)
                m_list.AddName(CompletionGroup.Instance, name, "", "instance", TextOf(m_at.Instances.Get(name)));
            if (withLast && m_at.Instances.HasLast)
                m_list.AddLast(TextOf(m_at.Instances.LastResult(-1)));
        }

        // The value too where showing it runs nothing of the user's.
        private static string TextOf(Value value)
        {
            object data = value.Data;
            bool isPlain = data == null || data is string || data is bool || data is char || data is Enum || Numbers.IsNumeric(data.GetType());
            return isPlain ? Formatter.ShowTyped(data, value.Type) : TypeNames.Show(data.GetType());
        }
    }
}
