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

    // "using N" or "using Name = N.Type", after set or delete.
    internal sealed class UsingCommand
    {
        public int Position;
        // Null for a namespace.
        public string Alias;
        // After delete an alias stands here too.
        public TypeSyntax Name;
    }

    internal sealed class SetCommand
    {
        // When it is there, nothing else is.
        public UsingCommand Using;
        public Expression Target;
        // "=", "+=" or "-=".
        public string Operator;
        public int OperatorPosition;
        public Expression Value;
    }

    internal sealed class DeleteCommand
    {
        // When it is there, nothing else is.
        public UsingCommand Using;
        public string Name;
        public int Position;
    }
}
