namespace OrvWorkBench
{
    // Each kind of command as the parser has read it. Positions are indices into the command text.

    internal sealed class LoadCommand
    {
        public int Position;
        public string Text;
        // A file's path, else a display name.
        public bool IsPath;
    }

    // "[name =] expression": create, invoke and get.
    internal sealed class ValueCommand
    {
        // Null when the value gets no name.
        public string Name;
        public int NamePosition;
        public Expression Value;
    }

    internal sealed class SetCommand
    {
        public Expression Target;
        // "=", "+=" or "-=".
        public string Operator;
        public int OperatorPosition;
        public Expression Value;
    }

    internal sealed class DeleteCommand
    {
        public string Name;
        public int Position;
    }
}
