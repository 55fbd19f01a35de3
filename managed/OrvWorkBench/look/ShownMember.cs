using System.Reflection;

namespace OrvWorkBench
{
    // A member with its text, which is made once, and only when it is asked for.
    internal sealed class ShownMember
    {
        public readonly MemberInfo Member;
        private string m_shown;

        public ShownMember(MemberInfo member)
        {
            Member = member;
        }

        public string Shown
        {
            get { return m_shown ?? (m_shown = MemberTexts.Show(Member)); }
        }
    }
}
