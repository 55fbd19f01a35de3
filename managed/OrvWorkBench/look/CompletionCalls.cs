using System;
using System.Collections.Generic;
using System.Reflection;

namespace OrvWorkBench
{
    // What stands in the parentheses of a call and in the brackets of an indexer.
    internal sealed partial class Completion
    {
        private void CompleteArguments(int open)
        {
            if (open > m_first && m_text[open - 1].Is("typeof"))
                Begin(Place.Type);
            else
            {
                if (!m_text.IsPrefix(open, m_first))
                    AddParameters(open);
                Begin(Place.Value);
            }
        }

        // What the call takes, and what it takes at the cursor's place.
        private void AddParameters(int open)
        {
            int given = m_text.CommasSince(open);
            foreach (MethodBase method in CalledAt(open))
            {
                ParameterInfo[] parameters = method.GetParameters();
                bool takesMany = parameters.Length > 0 && Signatures.TakesMany(parameters[parameters.Length - 1]);
                if (given > 0 && parameters.Length <= given && !takesMany)
                    continue;
                if (m_list.IsAtStart)
                    m_list.AddHint(method is ConstructorInfo ? "constructor" : "method", MemberTexts.Show(method));
                for (int i = given; i < parameters.Length; ++i)
                    AddParameter(parameters[i], i == given);
            }
        }

        // Its name only when some of it is typed: hardly any argument is named.
        private void AddParameter(ParameterInfo parameter, bool isNext)
        {
            if (!m_list.IsAtStart && !string.IsNullOrEmpty(parameter.Name))
                m_list.AddName(CompletionGroup.Word, parameter.Name, ": ", "word", Signatures.ShowParameter(parameter));
            if (isNext && parameter.ParameterType.IsByRef)
                m_list.AddWord(Signatures.IsOut(parameter) ? "out" : "ref");
            if (isNext)
                AddEnumerators(parameter.ParameterType);
        }

        // The methods or constructors that the call may mean whose parentheses begin there.
        private IEnumerable<MethodBase> CalledAt(int open)
        {
            int start = m_text.StartOf(open - 1, m_first);
            if (start < 0)
                return new MethodBase[0];
            bool isNew = m_text.IsBareNew(start, open - 1);
            if (isNew || (start == m_first && m_start == Place.Made))
                return ConstructorsOf(m_text.TextOf(start + (isNew ? 1 : 0), open - 1));
            Expression callee = Parser.ParseSubject(m_text.TextOf(start, open - 1));
            NameExpression name = callee as NameExpression;
            if (name != null && name.Part.Name == c_walk && !m_at.Instances.Has(c_walk) && m_list.IsAtStart)
                m_list.AddHint("method", c_walkShown);
            return MethodsOf(callee);
        }

        private IEnumerable<MethodBase> ConstructorsOf(string name)
        {
            Type type = TypeNamed(name);
            if (type == null || type.IsAbstract)
                return new MethodBase[0];
            MethodInfo shape = MethodGroup.ShapeOf(type);
            bool isPlain = type.IsValueType && type.GetConstructor(Type.EmptyTypes) == null;
            if (m_list.IsAtStart && shape != null)
                m_list.AddHint("constructor", DelegateText(type, shape));
            if (m_list.IsAtStart && isPlain)
                m_list.AddHint("constructor", TypeNames.Show(type) + "()");
            return shape != null ? new MethodBase[0] : (IEnumerable<MethodBase>)type.GetConstructors(Node.InstanceMembers);
        }

        // "EventHandler(void (object sender, System.EventArgs e) method)"
        private static string DelegateText(Type type, MethodInfo shape)
        {
            string declared = Signatures.ShowDeclared(shape);
            string name = TypeNames.Show(type);
            return name.Substring(name.LastIndexOf('.') + 1) + "(" + declared.Replace(" Invoke(", " (") + " method)";
        }

        // Null for what names no type.
        private Type TypeNamed(string name)
        {
            Node node = m_statics.Of(Parser.ParseSubject(name));
            return node == null ? null : node.Type;
        }

        private List<MethodBase> MethodsOf(Expression callee)
        {
            MemberExpression member = callee as MemberExpression;
            Node target = member == null ? null : m_statics.Of(member.Target);
            List<MethodBase> methods = new List<MethodBase>();
            if (target != null && target.MemberType != null)
                methods = Members.FindMethods(target.MemberType, member.Part.Name, target.Flags);
            Node called = methods.Count > 0 ? null : m_statics.Of(callee);
            MethodInfo shape = called == null || called.Type != null || called.MemberType == null ? null : MethodGroup.ShapeOf(called.MemberType);
            if (shape != null)
                methods.Add(shape);
            return methods;
        }

        // The brackets behind a value, a type's (its size), or in front of one (its assembly).
        private void CompleteBrackets(int open)
        {
            if (m_text.IsPrefix(open, m_first))
            {
                AddAssemblies();
                return;
            }
            int start = m_text.StartOf(open - 1, m_first);
            if (start < 0)
                return;
            bool isMade = m_text.IsBareNew(start, open - 1) || (start == m_first && m_start == Place.Made);
            Node node = isMade ? null : m_statics.Of(Parser.ParseSubject(m_text.TextOf(start, open - 1)));
            if (!isMade && (node == null || node.Type != null || node.MemberType == null))
                return;
            if (node != null && m_list.IsAtStart)
                AddIndexers(node.MemberType);
            Begin(Place.Value);
        }

        private void AddIndexers(Type type)
        {
            if (type.IsArray)
            {
                string rest = Repeated(", int", type.GetArrayRank() - 1);
                m_list.AddHint("indexer", TypeNames.Show(type.GetElementType()) + " this[int" + rest + "] { get; set; }");
                return;
            }
            foreach (PropertyInfo indexer in Members.FindIndexers(type))
            {
                if (indexer.GetGetMethod() != null || indexer.GetSetMethod() != null)
                    m_list.AddHint("indexer", MemberTexts.Show(indexer));
            }
        }

        private static string Repeated(string text, int count)
        {
            string all = "";
            for (int i = 0; i < count; ++i)
                all += text;
            return all;
        }

        private void AddAssemblies()
        {
            foreach (Assembly assembly in m_at.Assemblies.InSearchOrder())
                m_list.AddDotted(CompletionGroup.Namespace, assembly.GetName().Name, "]", "word", assembly.FullName);
        }
    }
}
