namespace OrvWorkBench
{
    internal enum TokenKind
    {
        End,
        Name,    // an identifier that is no keyword
        Keyword,
        Literal, // a number, string or character, with its value
        Mark     // punctuation
    }

    internal struct Token
    {
        public TokenKind Kind;
        public int Position;
        // A name without its '@', a keyword or a mark; a literal as it is written.
        public string Text;
        public object Value;

        public bool Is(string text)
        {
            return (Kind == TokenKind.Keyword || Kind == TokenKind.Mark) && Text == text;
        }

        // "$" or "$12".
        public bool IsResult
        {
            get { return Kind == TokenKind.Mark && Text[0] == '$'; }
        }

        // The token as an error message shows it.
        public string Shown
        {
            get { return Kind == TokenKind.End ? "the end" : "'" + Text + "'"; }
        }
    }
}
