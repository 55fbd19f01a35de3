using System.Collections.Generic;

namespace OrvWorkBench
{
    // Names of types as the parser has read them. Positions are indices into the command text.

    // One component of a type name: a namespace, a type or a nested type, with its type arguments if any.
    internal sealed class NamePart
    {
        public readonly int Position;
        public readonly string Name;
        // Null without type arguments.
        public readonly List<TypeSyntax> Arguments;

        public NamePart(int position, string name, List<TypeSyntax> arguments)
        {
            Position = position;
            Name = name;
            Arguments = arguments;
        }
    }

    internal sealed class TypeSyntax
    {
        public int Position;
        // The assembly's simple name of "[Assembly]Type"; null for any assembly.
        public string Assembly;
        // Set for a keyword such as int; Parts is empty then.
        public string Keyword;
        public readonly List<NamePart> Parts = new List<NamePart>();
        public bool Nullable;
        // The rank of each array level, as C# writes them: int[][,] is an array of two-dimensional arrays.
        public readonly List<int> Ranks = new List<int>();
    }
}
