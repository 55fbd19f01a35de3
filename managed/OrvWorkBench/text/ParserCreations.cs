using System;
using System.Collections.Generic;

namespace OrvWorkBench
{
    // What stands behind "new", and braces.
    internal sealed partial class Parser
    {
        // What follows "new". Only in the create command may the argument list be left out.
        private Expression ParseCreation(int position, bool mayOmitArguments)
        {
            if (Current.Is("[") && Ahead(1).Is("]") && Ahead(2).Is("{"))
                return ParseArrayOfElements(position);
            TypeSyntax type = ParseTypeName();
            if (Take("?"))
                type.Nullable = true;
            if (Current.Is("[") && !Ahead(1).Is("]") && !Ahead(1).Is(","))
                return ParseSizedArray(position, type);
            ParseRanks(type);
            if (type.Ranks.Count > 0)
                return new NewArrayExpression(position, type, null, ParseElements());
            List<Argument> arguments = new List<Argument>();
            m_height = 1;
            if (Current.Is("(") || (!mayOmitArguments && !Current.Is("{")))
                arguments = ParseArguments("(", ")");
            int height = m_height;
            Initializer initializer = Current.Is("{") ? ParseInitializer() : null;
            Raise(Math.Max(height, m_height), position);
            return new NewExpression(position, type, arguments, initializer);
        }

        // new[] { elements }
        private Expression ParseArrayOfElements(int position)
        {
            Expect("[");
            Expect("]");
            return new NewArrayExpression(position, null, null, ParseElements());
        }

        private Expression ParseSizedArray(int position, TypeSyntax type)
        {
            List<Expression> sizes = new List<Expression>();
            Expect("[");
            int height = 0;
            do
            {
                sizes.Add(ParseExpression());
                height = Math.Max(height, m_height);
            }
            while (Take(","));
            Expect("]");
            type.Ranks.Add(sizes.Count);
            ParseRanks(type);
            ArrayExpression elements = Current.Is("{") ? ParseElements() : null;
            Raise(Math.Max(height, m_height), position);
            return new NewArrayExpression(position, type, sizes, elements);
        }

        private ArrayExpression ParseElements()
        {
            int position = Current.Position;
            return new ArrayExpression(position, ParseValues(position));
        }

        // "{ value, ... }"
        private List<Expression> ParseValues(int position)
        {
            Enter();
            Expect("{");
            int height = 0;
            List<Expression> values = new List<Expression>();
            if (!Current.Is("}"))
            {
                do
                {
                    values.Add(ParseExpression());
                    height = Math.Max(height, m_height);
                }
                while (Take(","));
            }
            Expect("}");
            Leave();
            Raise(height, position);
            return values;
        }

        // "{ Member = value, ... }" or "{ element, ... }"; empty braces are the first.
        private Initializer ParseInitializer()
        {
            Initializer initializer = new Initializer();
            initializer.Position = Current.Position;
            bool isObject = Ahead(1).Is("}") || (Ahead(1).Kind == TokenKind.Name && Ahead(2).Is("="));
            if (isObject)
                initializer.Members = new List<MemberInitializer>();
            else
                initializer.Elements = new List<List<Expression>>();
            Enter();
            Expect("{");
            int height = 0;
            if (!Current.Is("}"))
            {
                do
                {
                    if (isObject)
                        initializer.Members.Add(ParseMemberInitializer());
                    else
                        initializer.Elements.Add(ParseElement());
                    height = Math.Max(height, m_height);
                }
                while (Take(","));
            }
            Expect("}");
            Leave();
            Raise(height, initializer.Position);
            return initializer;
        }

        private MemberInitializer ParseMemberInitializer()
        {
            MemberInitializer member = new MemberInitializer();
            member.Position = Current.Position;
            member.Name = ExpectName("a member's name");
            Expect("=");
            if (Current.Is("{"))
                member.Content = ParseInitializer();
            else
                member.Value = ParseExpression();
            return member;
        }

        // One element, or the arguments of Add in braces of their own.
        private List<Expression> ParseElement()
        {
            if (Current.Is("{"))
            {
                int position = Current.Position;
                List<Expression> arguments = ParseValues(position);
                if (arguments.Count == 0)
                    throw new CommandError(position, "an element is empty");
                return arguments;
            }
            List<Expression> one = new List<Expression>();
            one.Add(ParseExpression());
            return one;
        }
    }
}
