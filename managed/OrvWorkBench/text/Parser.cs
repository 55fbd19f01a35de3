using System;
using System.Collections.Generic;

namespace OrvWorkBench
{
    // Reads command texts. docs/commands.md has the grammar. Every method throws CommandError, with the position, for a
    // text that is not exactly one command.
    internal sealed class Parser
    {
        // Deeper nesting and longer chains of members and calls are refused: both are evaluated by recursion, which
        // would use up the stack. So would the longest chains inside of each other.
        private const int c_greatestDepth = 100;
        private const int c_greatestChain = 200;
        private const int c_greatestHeight = 300;

        private readonly List<Token> m_tokens;
        private int m_at;
        private int m_depth;
        // How many expressions stand in each other in what was read last.
        private int m_height;

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
            ValueCommand command = parser.ParseNamed(false);
            if (!(command.Value is CallExpression))
                throw new CommandError(command.Value.Position, "this is not a call: expected name.Method(arguments)");
            parser.ExpectEnd();
            return command;
        }

        // [name =] property, field, indexer, instance, or a cast.
        public static ValueCommand ParseGet(string text)
        {
            Parser parser = new Parser(text);
            ValueCommand command = parser.ParseNamed(true);
            if (!(command.Value is MemberExpression) && !(command.Value is IndexExpression) &&
                !(command.Value is NameExpression) && !(command.Value is LastResultExpression) &&
                !(command.Value is CastExpression))
                throw new CommandError(command.Value.Position, "expected a property, a field, an indexer or an instance");
            parser.ExpectEnd();
            return command;
        }

        // property, field or indexer = value; event += watch; event -= watch; using.
        public static SetCommand ParseSet(string text)
        {
            Parser parser = new Parser(text);
            SetCommand command = new SetCommand();
            command.Using = parser.TryParseUsing(true);
            if (command.Using != null)
                return command;
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
            command.Using = parser.TryParseUsing(false);
            if (command.Using != null)
                return command;
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

        // The rest of the text when it begins "using", with another name behind; null otherwise.
        private UsingCommand TryParseUsing(bool mayName)
        {
            if (Current.Kind != TokenKind.Name || Current.Text != "using" || Ahead(1).Kind != TokenKind.Name)
                return null;
            Next();
            UsingCommand command = new UsingCommand();
            command.Position = Current.Position;
            if (mayName && Ahead(1).Is("="))
            {
                command.Alias = ExpectName("a name");
                Next();
            }
            command.Name = command.Alias == null ? ParseTypeName() : ParseType();
            ExpectEnd();
            return command;
        }

        private ValueCommand ParseNamed(bool mayCast)
        {
            ValueCommand command = new ValueCommand();
            if (Current.Kind == TokenKind.Name && Ahead(1).Is("="))
            {
                command.NamePosition = Current.Position;
                command.Name = ExpectName("a name");
                Next();
            }
            command.Value = mayCast && Current.Is("(") ? ParseUnary() : ParsePostfix();
            return command;
        }

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
            Expression operand = ParseUnary();
            Raise(m_height, token.Position);
            Leave();
            if (isOperator)
                return new UnaryExpression(token.Position, token.Text[0], operand);
            return new CastExpression(token.Position, type, operand);
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
                if (Take("$"))
                    return new LastResultExpression(token.Position);
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
            TypeSyntax type = ParseTypeName();
            if (Take("?"))
                type.Nullable = true;
            ParseRanks(type);
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
