using System;
using System.Collections.Generic;
using System.Reflection;

namespace OrvWorkBench
{
    // Calls of methods and delegates, and their arguments.
    internal sealed partial class Evaluator
    {
        private Value Call(CallExpression call)
        {
            Expression target = call.Target;
            MemberExpression member = target as MemberExpression;
            NameExpression name = target as NameExpression;
            if (member != null)
                return CallMember(call, member);
            if (name != null && !IsInstance(name))
            {
                if (name.Part.Name == "walk" && name.Assembly == null && name.Part.Arguments == null)
                    return WalkThrough(call);
                throw new CommandError(name.Position, "there is no instance '" + name.Part.Name +
                                                          "': expected name.Method(arguments)" + m_instances.Suggest(name.Part.Name, ""));
            }
            if (target is KeywordExpression)
                throw new CommandError(target.Position, "a type is no method; 'new' makes an instance");
            return CallDelegate(call, Require(Evaluate(target), target.Position), "the call");
        }

        private Value CallMember(CallExpression call, MemberExpression member)
        {
            if (member.IsNested)
                throw new CommandError(member.Position, "'+' stands between a type and its nested type; a method follows '.'");
            Node node = ResolveTarget(member);
            RequireObject(node, member.Target.Position);
            string name = member.Part.Name;
            Type[] typeArguments = TypeArguments(member.Part);
            List<MethodBase> group = Members.FindMethods(node.MemberType, name, node.Flags);
            if (group.Count > 0)
                return Invoke(group.ConvertAll<Candidate>(Candidate.Of), node, call.Arguments, typeArguments, member.Position, "'" + name + "'");
            MemberInfo data = Members.FindData(node.MemberType, name, node.Flags);
            if (data != null && !(data is EventInfo) && typeArguments == null)
                return CallDelegate(call, Read(node, data, name, member.Position).Value, "'" + name + "'");
            throw new CommandError(member.Position, "'" + TypeNames.Show(node.MemberType) + "' has no public " + node.Kind +
                                                        " method '" + name + "'" +
                                                        Members.Hint(node.MemberType, name, node.Flags));
        }

        // What stands before a member that is called or set. When that is unknown, the message has the whole name: it was
        // meant as a type.
        private Node ResolveTarget(MemberExpression member)
        {
            List<NamePart> parts = new List<NamePart>();
            Expression root = member.Target;
            for (MemberExpression inner = root as MemberExpression; inner != null; inner = root as MemberExpression)
            {
                parts.Insert(0, inner.Part);
                root = inner.Target;
            }
            NameExpression name = root as NameExpression;
            if (name != null && !IsInstance(name) && parts.Count > 0)
            {
                parts.Insert(0, name.Part);
                int count;
                if (m_types.FindPrefix(parts, name.Assembly, name.Position, out count) == null)
                    throw NoTypeEither(name, parts, parts.Count);
            }
            return Resolve(member.Target);
        }

        private Value CallDelegate(CallExpression call, Value value, string description)
        {
            bool isDelegate = value.Type != null && typeof(Delegate).IsAssignableFrom(value.Type);
            if (isDelegate && value.Data == null)
                throw new CommandError(call.Position, description + " is a delegate that is null");
            MethodInfo shape = isDelegate ? MethodGroup.ShapeOf(value.Type) : null;
            if (shape == null)
                throw new CommandError(call.Position, description + " is not a method: it is " + Conversions.Describe(value));
            List<Candidate> group = new List<Candidate>();
            group.Add(Candidate.Of(shape));
            return Invoke(group, Node.Of(value), call.Arguments, null, call.Position, description);
        }

        private Value Invoke(List<Candidate> group, Node node, IList<Argument> arguments, Type[] typeArguments, int position,
                             string description)
        {
            List<BoundArgument> bound = Bind(arguments);
            Candidate chosen = Overloads.Choose(group, bound, typeArguments, position, description);
            object[] values = Overloads.Prepare(chosen, bound);
            MethodInfo method = (MethodInfo)chosen.Method;
            object result = Run(method, node, values);
            ShowReferences(chosen, bound, values, position);
            return method.ReturnType == typeof(void) ? null : Value.Of(result, method.ReturnType);
        }

        private List<BoundArgument> Bind(IList<Argument> arguments)
        {
            List<BoundArgument> bound = new List<BoundArgument>();
            foreach (Argument argument in arguments)
            {
                BoundArgument one = BoundArgument.Of(argument.Value == null ? null : EvaluateOperand(argument.Value));
                one.Kind = argument.Kind;
                one.Parameter = argument.Parameter;
                one.Name = argument.Name;
                bound.Add(one);
            }
            return bound;
        }

        // Prints what the ref and out arguments hold after the call, and keeps it under the argument's name if it has
        // one.
        private void ShowReferences(Candidate chosen, IList<BoundArgument> bound, object[] values, int position)
        {
            foreach (int place in chosen.Places)
                RequireForeign(values[place], position);
            for (int i = 0; i < bound.Count; ++i)
            {
                if (bound[i].Kind == ArgumentKind.Value)
                    continue;
                int place = chosen.Places[i];
                Type type = chosen.TypeFor(i);
                string word = bound[i].Kind == ArgumentKind.Ref ? "ref " : "out ";
                string name = bound[i].Name ?? chosen.Parameters[place].Name;
                ShownValue shown = Formatter.ShowWhole(values[place], type);
                Output.Line(word + name + " = " + shown.Text);
                shown.PrintWay(bound[i].Name ?? m_instances.NameFor(shown, values[place], type));
                if (ResultChannel.Record != null)
                    ResultChannel.Record.AddReference(name, shown);
                if (bound[i].Name != null)
                    m_instances.Replace(bound[i].Name, Value.Of(values[place], type));
            }
        }

        // walk(sequence [, first [, count]]): prints the elements one by one. Returns null, as a method that returns
        // nothing.
        private Value WalkThrough(CallExpression call)
        {
            if (call.Arguments.Count < 1 || call.Arguments.Count > 3)
                throw new CommandError(call.Position, "expected walk(sequence), walk(sequence, first) or walk(sequence, first, count)");
            foreach (Argument argument in call.Arguments)
            {
                if (argument.Kind != ArgumentKind.Value || argument.Parameter != null)
                    throw new CommandError(argument.Position, "walk takes plain values");
            }
            Expression source = call.Arguments[0].Value;
            object sequence = Require(Evaluate(source), source.Position).Data;
            int first = call.Arguments.Count > 1 ? WalkNumber(call.Arguments[1].Value) : 0;
            int count = call.Arguments.Count > 2 ? WalkNumber(call.Arguments[2].Value) : Walk.UsualCount;
            if (!Walk.Print(sequence, first, count, m_instances))
                throw new CommandError(source.Position, "there is nothing to walk: the value is no sequence");
            return null;
        }

        private int WalkNumber(Expression expression)
        {
            int number = (int)ConvertTo(typeof(int), expression);
            if (number < 0)
                throw new CommandError(expression.Position, "the number cannot be negative");
            return number;
        }
    }
}
