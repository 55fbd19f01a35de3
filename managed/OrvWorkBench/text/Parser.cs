using System;
using System.Collections.Generic;

namespace OrvWorkBench
{
    // Reads command texts. docs/commands.md has the grammar. Every method throws CommandError, with the position, for a
    // text that is not exactly one command.
    internal sealed partial class Parser
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
                !(command.Value is CutValueExpression) &&
                !(command.Value is CastExpression))
                throw new CommandError(command.Value.Position, "expected a property, a field, an indexer or an instance");
            parser.ExpectEnd();
            return command;
        }

        // A type's name or an expression.
        public static Expression ParseSubject(string text)
        {
            Parser parser = new Parser(text);
            Expression subject = parser.ParseExpression();
            parser.ExpectEnd();
            return subject;
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
            command.Name = command.Alias == null ? ParseNamespace() : ParseType();
            ExpectEnd();
            return command;
        }

        // Or what a using calls a type.
        private TypeSyntax ParseNamespace()
        {
            TypeSyntax space = new TypeSyntax();
            space.Position = Current.Position;
            do
            {
                int position = Current.Position;
                space.Parts.Add(new NamePart(position, ExpectName("a name"), null));
            }
            while (Take("."));
            return space;
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
    }
}
