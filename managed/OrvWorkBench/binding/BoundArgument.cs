namespace OrvWorkBench
{
    // An argument of a call with its value.
    internal sealed class BoundArgument
    {
        public ArgumentKind Kind;
        // The parameter that it names; null for an argument that goes by its place.
        public string Parameter;
        // Null for "out".
        public Value Value;
        public string Name;

        public static BoundArgument Of(Value value)
        {
            BoundArgument argument = new BoundArgument();
            argument.Value = value;
            return argument;
        }
    }
}
