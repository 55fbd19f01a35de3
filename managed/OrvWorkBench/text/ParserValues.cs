using System;
using System.Collections.Generic;

namespace OrvWorkBench
{
    // Values: operators, casts, members and calls, arguments.
    internal sealed partial class Parser
    {
        // Keeps the height of an expression whose highest part has that height.
        private void Raise(int height, int position)
        {
            if (height >= c_greatestHeight)
                throw new CommandError(position, "more than " + c_greatestHeight + " expressions in each other");
            m_height = height + 1;
        }

        private Expression ParseExpression()
        {
            Expression left = ParseUnary();
            for (int links = 0; Current.Is("|"); ++links)
            {
                int position = Current.Position;
                int height = m_height;
                if (links == c_greatestChain)
                    throw new CommandError(position, "more than " + c_greatestChain + " '|' in a row");
                Next();
                left = new OrExpression(position, left, ParseUnary());
                Raise(Math.Max(height, m_height), position);
            }
            return left;
        }

        private Expression ParseUnary()
        {
            Token token = Current;
            bool isOperator = token.Is("-") || token.Is("+") || token.Is("!") || token.Is("~");
            TypeSyntax type = token.Is("(") ? TryParseCast() : null;
            if (!isOperator && type == null)
                return ParsePostfix();
            Enter();
            if (isOperator)
                Next();
            object least = token.Is("-") ? LeastNumber(Current) : null;
            int start = m_at;
            Expression operand = ParseUnary();
            Raise(m_height, token.Position);
            Leave();
            if (least != null && m_at == start + 1)
                return new LiteralExpression(token.Position, least);
            if (isOperator)
                return new UnaryExpression(token.Position, token.Text[0], operand);
            return new CastExpression(token.Position, type, operand);
        }

        // What a minus makes of the two numbers that alone are too large for the type, by one; null for any other token.
        private static object LeastNumber(Token token)
        {
            switch (token.Kind == TokenKind.Literal ? token.Text.TrimStart('0').ToLowerInvariant() : "")
            {
            case "2147483648":
                return int.MinValue;
            case "9223372036854775808":
            case "9223372036854775808l":
                return long.MinValue;
            default:
                return null;
            }
        }

        // "(Type)" is a cast when what follows can only be its operand; otherwise nothing is read and null comes back.
        private TypeSyntax TryParseCast()
        {
            int before = m_at;
            int depth = m_depth;
            try
            {
                Next();
                TypeSyntax type = ParseType();
                bool certain = type.Keyword != null || type.Ranks.Count > 0 || type.Nullable;
                if (Take(")") && StartsOperand(certain))
                    return type;
            }
            catch (CommandError)
            {
                m_depth = depth; // not a type: it is read again as an expression, which reports what is wrong
            }
            m_at = before;
            return null;
        }

        private bool StartsOperand(bool certain)
        {
            Token token = Current;
            if (token.Kind == TokenKind.Name || token.Kind == TokenKind.Literal || token.Kind == TokenKind.Keyword)
                return true;
            if (token.Is("(") || token.IsResult || token.Is("{") || token.Is("!") || token.Is("~"))
                return true;
            return certain && (token.Is("-") || token.Is("+"));
        }

        private Expression ParsePostfix()
        {
            Expression result = ParsePrimary();
            for (int links = 0;; ++links)
            {
                Token token = Current;
                bool nested = token.Is("+") && Ahead(1).Kind == TokenKind.Name;
                if (!nested && !token.Is(".") && !token.Is("(") && !token.Is("["))
                    return result;
                if (links == c_greatestChain)
                    throw new CommandError(token.Position, "more than " + c_greatestChain + " members and calls in a row");
                int height = m_height;
                result = ParseLink(result, token, nested);
                Raise(Math.Max(height, m_height), token.Position);
            }
        }

        private Expression ParseLink(Expression target, Token token, bool nested)
        {
            if (token.Is("("))
                return new CallExpression(target.Position, target, ParseArguments("(", ")"));
            if (!token.Is("["))
            {
                Next();
                return new MemberExpression(target, ParseNamePart(nested ? "a nested type" : "a member's name"), nested);
            }
            List<Argument> indices = ParseArguments("[", "]");
            if (indices.Count == 0)
                throw new CommandError(token.Position, "an indexer needs an index");
            return new IndexExpression(token.Position, target, indices);
        }

        private Expression ParsePrimary()
        {
            Token token = Current;
            m_height = 1;
            switch (token.Kind)
            {
            case TokenKind.Literal:
                Next();
                return new LiteralExpression(token.Position, token.Value);
            case TokenKind.Name:
                return new NameExpression(ParseNamePart("a name"), null);
            case TokenKind.Keyword:
                return ParseKeyword(token);
            case TokenKind.Mark:
                if (token.IsResult)
                    return ParseResult(token);
                if (token.Is("{"))
                    return ParseElements();
                if (token.Is("["))
                {
                    string assembly = ParseAssemblyPrefix();
                    return new NameExpression(ParseNamePart("a type's name"), assembly);
                }
                if (token.Is("("))
                    return ParseParenthesised();
                break;
            }
            throw Unexpected("a value");
        }

        private Expression ParseResult(Token token)
        {
            Next();
            if (token.Text == "$")
                return new LastResultExpression(token.Position);
            return new CutValueExpression(token.Position, token.Text);
        }

        private Expression ParseParenthesised()
        {
            Enter();
            Expect("(");
            Expression inner = ParseExpression();
            Expect(")");
            Leave();
            return inner;
        }

        private Expression ParseKeyword(Token token)
        {
            switch (token.Text)
            {
            case "null":
                Next();
                return new LiteralExpression(token.Position, null);
            case "true":
            case "false":
                Next();
                return new LiteralExpression(token.Position, token.Text == "true");
            case "new":
                Next();
                return ParseCreation(token.Position, false);
            case "typeof":
                Next();
                Expect("(");
                TypeSyntax type = ParseType();
                Expect(")");
                return new TypeofExpression(token.Position, type);
            case "ref":
            case "out":
                throw new CommandError(token.Position, "'" + token.Text + "' stands only before an argument");
            default:
                Next();
                return new KeywordExpression(token.Position, token.Text);
            }
        }

        private List<Argument> ParseArguments(string open, string close)
        {
            Enter();
            Expect(open);
            List<Argument> arguments = new List<Argument>();
            int height = 0;
            if (!Current.Is(close))
            {
                do
                {
                    arguments.Add(ParseArgument(arguments));
                    height = Math.Max(height, m_height);
                }
                while (Take(","));
            }
            if (!Current.Is(close))
                throw Unexpected("',' or '" + close + "'");
            Next();
            Leave();
            m_height = height;
            return arguments;
        }

        private Argument ParseArgument(List<Argument> before)
        {
            Argument argument = new Argument();
            argument.Position = Current.Position;
            if (Current.Kind == TokenKind.Name && Ahead(1).Is(":"))
            {
                argument.Parameter = ExpectName("a parameter's name");
                Next();
                if (before.Exists(delegate(Argument one) { return one.Parameter == argument.Parameter; }))
                    throw new CommandError(argument.Position, "the parameter '" + argument.Parameter + "' is given twice");
            }
            else if (before.Count > 0 && before[before.Count - 1].Parameter != null)
                throw new CommandError(argument.Position, "what follows a named argument needs its name too");
            m_height = 1;
            if (Take("out"))
            {
                argument.Kind = ArgumentKind.Out;
                if (Current.Kind == TokenKind.Name)
                    argument.Name = ExpectName("a name");
                return argument;
            }
            argument.Kind = Take("ref") ? ArgumentKind.Ref : ArgumentKind.Value;
            argument.Value = ParseExpression();
            NameExpression name = argument.Value as NameExpression;
            if (argument.Kind == ArgumentKind.Ref && name != null && name.Assembly == null && name.Part.Arguments == null)
                argument.Name = name.Part.Name;
            return argument;
        }
    }
}
