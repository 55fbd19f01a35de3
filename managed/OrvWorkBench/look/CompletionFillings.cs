using System;
using System.Collections.Generic;
using System.Reflection;

namespace OrvWorkBench
{
    // What stands in braces, and values of which the type is known.
    internal sealed partial class Completion
    {
        // Elements, or what is set in a new object.
        private void CompleteFilling(int open)
        {
            Type type = FilledAt(open);
            if (type == null)
            {
                Begin(Place.Value);
                return;
            }
            foreach (ShownMember member in ReachableMembers.OfValue(type))
            {
                if (m_list.Fits(member.Member.Name) && IsFilled(member.Member))
                    m_list.AddName(CompletionGroup.Member, member.Member.Name, "", MemberTexts.KindOf(member.Member), member.Shown);
            }
            if (Members.FindMethods(type, "Add", Node.InstanceMembers).Count > 0)
                Begin(Place.Value);
        }

        // What can be set, and what holds an object that can be filled.
        private static bool IsFilled(MemberInfo member)
        {
            FieldInfo field = member as FieldInfo;
            PropertyInfo property = member as PropertyInfo;
            if (field != null)
                return !field.IsInitOnly || !field.FieldType.IsValueType;
            return property != null && (Members.Accessor(property, true) != null || !property.PropertyType.IsValueType);
        }

        // The type of what the braces fill; null for an array's elements.
        private Type FilledAt(int open)
        {
            if (open - 2 > m_first && m_text[open - 1].Is("=") && m_text.ParentOf(open) >= m_first)
                return TypeOfSetting(open - 1);
            int start = open > m_first ? m_text.StartOf(open - 1, m_first) : -1;
            bool isNew = start >= 0 && m_text[start].Is("new");
            if (!isNew && (start != m_first || m_start != Place.Made))
                return null;
            int end = m_text[open - 1].Is(")") ? m_text.PartnerOf(open - 1) - 1 : open - 1;
            int first = isNew ? start + 1 : start;
            return end < first || m_text[end].Is("]") ? null : TypeNamed(m_text.TextOf(first, end));
        }

        // The type of the member in front of that "=" in braces; null for none.
        private Type TypeOfSetting(int sign)
        {
            int braces = m_text.ParentOf(sign);
            if (!m_text[braces].Is("{") || m_text[sign - 1].Kind != TokenKind.Name)
                return null;
            Type type = FilledAt(braces);
            return type == null ? null : TypeOf(Members.FindData(type, m_text[sign - 1].Text, Node.InstanceMembers));
        }

        private static Type TypeOf(MemberInfo data)
        {
            FieldInfo field = data as FieldInfo;
            PropertyInfo property = data as PropertyInfo;
            return field != null ? field.FieldType : property == null ? null : property.PropertyType;
        }

        // The names of an enumeration where a value of it is wanted.
        private void AddEnumerators(Type wanted)
        {
            Type bare = wanted != null && wanted.IsByRef ? wanted.GetElementType() : wanted;
            Type type = bare == null ? null : Nullable.GetUnderlyingType(bare) ?? bare;
            if (type == null || !type.IsEnum || !type.IsVisible)
                return;
            foreach (FieldInfo field in type.GetFields(Node.StaticMembers))
                m_list.AddDotted(CompletionGroup.Member, TypeNames.Show(type) + "." + field.Name, "", "field", MemberTexts.Show(field));
        }

        // What the target of set wants behind its "=".
        private void AddWanted(int sign)
        {
            Node target = m_statics.Of(Parser.ParseSubject(m_text.TextOf(0, sign - 1)));
            if (target != null && target.Type == null)
                AddEnumerators(target.MemberType);
        }
    }
}
