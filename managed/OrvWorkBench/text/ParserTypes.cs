using System.Collections.Generic;

namespace OrvWorkBench
{
    // The names of types.
    internal sealed partial class Parser
    {
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
