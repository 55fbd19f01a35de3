using System;
using System.Collections.Generic;

namespace OrvWorkBench
{
    // Reads command texts. docs/commands.md has the grammar. Every method throws CommandError, with the position, for a
    // text that is not exactly one command.
    internal sealed class Parser
    {
        // Deeper nesting and longer chains of members and calls are refused: both are evaluated by recursion, which
        // would use up the stack.
        private const int c_greatestDepth = 100;
        private const int c_greatestChain = 200;

        private readonly List<Token> m_tokens;
        private int m_at;
        private int m_depth;

        private Parser(string text)
        {
            m_tokens = Lexer.Read(text);
        }

        // A path or a display name, taken as it stands; quotes around it are taken off.
        public static LoadCommand ParseLoad(string text)
        {
            LoadCommand command = new LoadCommand();
            int start = 0;
            int end = text.Length;
            while (start < end && char.IsWhiteSpace(text[start]))
                ++start;
            while (end > start && char.IsWhiteSpace(text[end - 1]))
                --end;
            command.Position = start;
            command.Text = text.Substring(start, end - start);
            if (command.Text.StartsWith("\"", StringComparison.Ordinal))
            {
                int close = command.Text.IndexOf('"', 1);
                if (close < 0)
                    throw new CommandError(start, "a quote is not closed");
                if (close != command.Text.Length - 1)
                    throw new CommandError(start + close + 1, "unexpected text after the closing quote");
                command.Text = command.Text.Substring(1, close - 1).Trim();
            }
            if (command.Text.Length == 0)
                throw new CommandError(start, "expected an assembly's path or display name");
            int quote = command.Text.IndexOf('"');
            if (quote >= 0)
                throw new CommandError(start + quote, "unexpected quote");
            int nul = text.IndexOf('\0');
            if (nul >= 0)
                throw new CommandError(nul, "unexpected character '\\0'");
            command.IsPath = command.Text.IndexOfAny(new char[] { '/', '\\' }) >= 0 ||
                             command.Text.EndsWith(".dll", StringComparison.OrdinalIgnoreCase) ||
                             command.Text.EndsWith(".exe", StringComparison.OrdinalIgnoreCase);
            return command;
        }

        // name = [new] Type[(arguments)], or name = [new] Type[] { elements }.
        public static ValueCommand ParseCreate(string text)
        {
            Parser parser = new Parser(text);
            ValueCommand command = new ValueCommand();
            command.NamePosition = parser.Current.Position;
            command.Name = parser.ExpectName("a name for the new instance");
            parser.Expect("=");
            int position = parser.Current.Position;
            parser.Take("new");
            command.Value = parser.ParseCreation(position, true);
            parser.ExpectEnd();
            return command;
        }

        // [name =] call.
        public static ValueCommand ParseInvoke(string text)
        {
            Parser parser = new Parser(text);
            ValueCommand command = parser.ParseNamed();
            if (!(command.Value is CallExpression))
                throw new CommandError(command.Value.Position, "this is not a call: expected name.Method(arguments)");
            parser.ExpectEnd();
            return command;
        }

        // [name =] property, field, indexer or instance.
        public static ValueCommand ParseGet(string text)
        {
            Parser parser = new Parser(text);
            ValueCommand command = parser.ParseNamed();
            if (!(command.Value is MemberExpression) && !(command.Value is IndexExpression) &&
                !(command.Value is NameExpression) && !(command.Value is LastResultExpression))
                throw new CommandError(command.Value.Position, "expected a property, a field, an indexer or an instance");
            parser.ExpectEnd();
            return command;
        }

        // property, field or indexer = value; event += watch; event -= watch.
        public static SetCommand ParseSet(string text)
        {
            Parser parser = new Parser(text);
            SetCommand command = new SetCommand();
            command.Target = parser.ParsePostfix();
            if (!(command.Target is MemberExpression) && !(command.Target is IndexExpression))
                throw new CommandError(command.Target.Position, "expected a property, a field or an indexer");
            command.OperatorPosition = parser.Current.Position;
            if (!parser.Current.Is("=") && !parser.Current.Is("+=") && !parser.Current.Is("-="))
                throw parser.Unexpected("'='");
            command.Operator = parser.Current.Text;
            parser.Next();
            command.Value = parser.ParseExpression();
            if (command.Operator != "=" && !(command.Target is MemberExpression))
                throw new CommandError(command.OperatorPosition, "only an event takes '" + command.Operator + "'");
            parser.ExpectEnd();
            return command;
        }

        public static DeleteCommand ParseDelete(string text)
        {
            Parser parser = new Parser(text);
            DeleteCommand command = new DeleteCommand();
            command.Position = parser.Current.Position;
            command.Name = parser.ExpectName("an instance's name");
            parser.ExpectEnd();
            return command;
        }

        private Token Current
        {
            get { return m_tokens[m_at]; }
        }

        private Token Ahead(int count)
        {
            return m_tokens[Math.Min(m_at + count, m_tokens.Count - 1)];
        }

        private void Next()
        {
            if (m_at < m_tokens.Count - 1)
                ++m_at;
        }

        private bool Take(string text)
        {
            if (!Current.Is(text))
                return false;
            Next();
            return true;
        }

        private CommandError Unexpected(string expected)
        {
            return new CommandError(Current.Position, "expected " + expected + " but found " + Current.Shown);
        }

        private void Expect(string text)
        {
            if (!Take(text))
                throw Unexpected("'" + text + "'");
        }

        private void ExpectEnd()
        {
            if (Current.Kind != TokenKind.End)
                throw Unexpected("the end");
        }

        private string ExpectName(string what)
        {
            if (Current.Kind != TokenKind.Name)
                throw Unexpected(what);
            string name = Current.Text;
            Next();
            return name;
        }

        private void Enter()
        {
            if (++m_depth > c_greatestDepth)
                throw new CommandError(Current.Position, "the text nests more than " + c_greatestDepth + " deep");
        }

        private void Leave()
        {
            --m_depth;
        }

        private ValueCommand ParseNamed()
        {
            ValueCommand command = new ValueCommand();
            if (Current.Kind == TokenKind.Name && Ahead(1).Is("="))
            {
                command.NamePosition = Current.Position;
                command.Name = ExpectName("a name");
                Next();
            }
            command.Value = ParsePostfix();
            return command;
        }

        private Expression ParseExpression()
        {
            Enter();
            Expression left = ParseUnary();
            for (int links = 0; Current.Is("|"); ++links)
            {
                int position = Current.Position;
                if (links == c_greatestChain)
                    throw new CommandError(position, "more than " + c_greatestChain + " '|' in a row");
                Next();
                left = new OrExpression(position, left, ParseUnary());
            }
            Leave();
            return left;
        }

        private Expression ParseUnary()
        {
            Enter();
            Expression result;
            Token token = Current;
            if (token.Is("-") || token.Is("+") || token.Is("!") || token.Is("~"))
            {
                Next();
                result = new UnaryExpression(token.Position, token.Text[0], ParseUnary());
            }
            else
            {
                TypeSyntax type = token.Is("(") ? TryParseCast() : null;
                if (type == null)
                    result = ParsePostfix();
                else
                    result = new CastExpression(token.Position, type, ParseUnary());
            }
            Leave();
            return result;
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
            if (token.Is("(") || token.Is("$") || token.Is("{") || token.Is("!") || token.Is("~"))
                return true;
            return certain && (token.Is("-") || token.Is("+"));
        }

        private Expression ParsePostfix()
        {
            Expression result = ParsePrimary();
            for (int links = 0;; ++links)
            {
                Token token = Current;
                if (links == c_greatestChain)
                    throw new CommandError(token.Position, "more than " + c_greatestChain + " members and calls in a row");
                bool nested = token.Is("+") && Ahead(1).Kind == TokenKind.Name;
                if (token.Is(".") || nested)
                {
                    Next();
                    result = new MemberExpression(result, ParseNamePart(nested ? "a nested type" : "a member's name"), nested);
                }
                else if (token.Is("("))
                    result = new CallExpression(result.Position, result, ParseArguments("(", ")"));
                else if (token.Is("["))
                {
                    result = new IndexExpression(token.Position, result, ParseArguments("[", "]"));
                    if (((IndexExpression)result).Arguments.Count == 0)
                        throw new CommandError(token.Position, "an indexer needs an index");
                }
                else
                    return result;
            }
        }

        private Expression ParsePrimary()
        {
            Token token = Current;
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
                if (Take("$"))
                    return new LastResultExpression(token.Position);
                if (token.Is("{"))
                    return ParseElements();
                if (token.Is("["))
                {
                    string assembly = ParseAssemblyPrefix();
                    return new NameExpression(ParseNamePart("a type's name"), assembly);
                }
                if (Take("("))
                {
                    Expression inner = ParseExpression();
                    Expect(")");
                    return inner;
                }
                break;
            }
            throw Unexpected("a value");
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

        // What follows "new". Only in the create command may the argument list be left out.
        private Expression ParseCreation(int position, bool mayOmitArguments)
        {
            TypeSyntax type = ParseTypeName();
            if (Take("?"))
                type.Nullable = true;
            if (Current.Is("[") && !Ahead(1).Is("]") && !Ahead(1).Is(","))
                return ParseSizedArray(position, type);
            ParseRanks(type);
            if (type.Ranks.Count > 0)
                return new NewArrayExpression(position, type, null, ParseElements());
            if (!Current.Is("(") && mayOmitArguments)
                return new NewExpression(position, type, new List<Argument>());
            return new NewExpression(position, type, ParseArguments("(", ")"));
        }

        private Expression ParseSizedArray(int position, TypeSyntax type)
        {
            List<Expression> sizes = new List<Expression>();
            Expect("[");
            do
                sizes.Add(ParseExpression());
            while (Take(","));
            Expect("]");
            type.Ranks.Add(sizes.Count);
            ParseRanks(type);
            return new NewArrayExpression(position, type, sizes, null);
        }

        private ArrayExpression ParseElements()
        {
            int position = Current.Position;
            Enter();
            Expect("{");
            List<Expression> elements = new List<Expression>();
            if (!Current.Is("}"))
            {
                do
                    elements.Add(ParseExpression());
                while (Take(","));
            }
            Expect("}");
            Leave();
            return new ArrayExpression(position, elements);
        }

        private List<Argument> ParseArguments(string open, string close)
        {
            Enter();
            Expect(open);
            List<Argument> arguments = new List<Argument>();
            if (!Current.Is(close))
            {
                do
                    arguments.Add(ParseArgument());
                while (Take(","));
            }
            if (!Current.Is(close))
                throw Unexpected("',' or '" + close + "'");
            Next();
            Leave();
            return arguments;
        }

        private Argument ParseArgument()
        {
            Argument argument = new Argument();
            argument.Position = Current.Position;
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

        private NamePart ParseNamePart(string what)
        {
            int position = Current.Position;
            string name = ExpectName(what);
            return new NamePart(position, name, Current.Is("<") ? ParseTypeArguments() : null);
        }

        private List<TypeSyntax> ParseTypeArguments()
        {
            List<TypeSyntax> types = new List<TypeSyntax>();
            Enter();
            Expect("<");
            do
                types.Add(ParseType());
            while (Take(","));
            Expect(">");
            Leave();
            return types;
        }

        private TypeSyntax ParseType()
        {
            Enter();
            TypeSyntax type = ParseTypeName();
            if (Take("?"))
                type.Nullable = true;
            ParseRanks(type);
            Leave();
            return type;
        }

        private void ParseRanks(TypeSyntax type)
        {
            while (Current.Is("[") && (Ahead(1).Is("]") || Ahead(1).Is(",")))
            {
                int rank = 1;
                Next();
                while (Take(","))
                    ++rank;
                Expect("]");
                type.Ranks.Add(rank);
            }
        }

        private TypeSyntax ParseTypeName()
        {
            TypeSyntax type = new TypeSyntax();
            type.Position = Current.Position;
            if (Current.Is("["))
                type.Assembly = ParseAssemblyPrefix();
            else if (Current.Kind == TokenKind.Keyword && TypeNames.IsKeyword(Current.Text))
            {
                type.Keyword = Current.Text;
                Next();
                return type;
            }
            type.Parts.Add(ParseNamePart("a type's name"));
            while (Current.Is(".") || (Current.Is("+") && Ahead(1).Kind == TokenKind.Name))
            {
                Next();
                type.Parts.Add(ParseNamePart("a type's name"));
            }
            return type;
        }

        // "[simple name]"; a name with other characters than letters, digits, '.' and '-' stands in quotes.
        private string ParseAssemblyPrefix()
        {
            Expect("[");
            string name;
            if (Current.Kind == TokenKind.Literal && Current.Value is string)
            {
                name = (string)Current.Value;
                Next();
            }
            else
            {
                name = ExpectName("an assembly's name");
                while (Current.Is(".") || Current.Is("-"))
                {
                    name += Current.Text;
                    Next();
                    name += ExpectName("an assembly's name");
                }
            }
            Expect("]");
            return name;
        }
    }
}
