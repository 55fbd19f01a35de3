using System;
using System.Collections.Generic;
using System.Reflection;

namespace OrvWorkBench
{
    // What follows a dot: members, nested types, types and namespaces.
    internal sealed partial class Completion
    {
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
            foreach (ShownMember member in node.Type != null ? ReachableMembers.OfType(node.Type) : ReachableMembers.OfValue(node.MemberType))
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

        // Types of the assembly whose name ends with that bracket, in one of its namespaces.
        private void AddOfAssembly(int close, string space, Place place)
        {
            string name = m_text.TextOf(m_text.PartnerOf(close) + 1, close - 1).Trim().Trim('"');
            Assembly assembly = m_at.Assemblies.Find(name);
            if (assembly != null)
                m_types.AddIn(assembly, space, FilterFor(place));
        }
    }
}
