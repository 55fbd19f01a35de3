namespace OrvWorkBench
{
    // An argument of a call with its value.
    internal sealed class BoundArgument
    {
        public ArgumentKind Kind;
        // Null for "out".
        public Value Value;
        public string Name;
    }
}
