using System.Collections.Generic;

namespace OrvWorkBench
{
    // Expressions as the parser has read them. Positions are indices into the command text.

    internal abstract class Expression
    {
        public readonly int Position;

        protected Expression(int position)
        {
            Position = position;
        }
    }

    internal sealed class LiteralExpression : Expression
    {
        // Null for the literal null.
        public readonly object Value;

        public LiteralExpression(int position, object value) : base(position)
        {
            Value = value;
        }
    }

    // "$": what the last call or get returned.
    internal sealed class LastResultExpression : Expression
    {
        public LastResultExpression(int position) : base(position)
        {
        }
    }

    // "$12": a value that was shown cut off.
    internal sealed class CutValueExpression : Expression
    {
        public readonly string Name;

        public CutValueExpression(int position, string name) : base(position)
        {
            Name = name;
        }
    }

    // A single name: an instance, or the first component of a type's name.
    internal sealed class NameExpression : Expression
    {
        public readonly NamePart Part;
        // The "Assembly" of "[Assembly]Type"; the name is a type's then. Null without.
        public readonly string Assembly;

        public NameExpression(NamePart part, string assembly) : base(part.Position)
        {
            Part = part;
            Assembly = assembly;
        }
    }

    // A keyword that names a type, such as int in int.Parse("5").
    internal sealed class KeywordExpression : Expression
    {
        public readonly string Keyword;

        public KeywordExpression(int position, string keyword) : base(position)
        {
            Keyword = keyword;
        }
    }

    internal sealed class MemberExpression : Expression
    {
        public readonly Expression Target;
        public readonly NamePart Part;
        // "Outer+Inner": the part can only be a nested type.
        public readonly bool IsNested;

        public MemberExpression(Expression target, NamePart part, bool isNested) : base(part.Position)
        {
            Target = target;
            Part = part;
            IsNested = isNested;
        }
    }

    internal enum ArgumentKind
    {
        Value,
        Ref,
        Out
    }

    internal sealed class Argument
    {
        public int Position;
        public ArgumentKind Kind;
        // The parameter in "parameter: value"; null for an argument that goes by its place.
        public string Parameter;
        // Null for "out" with or without a name.
        public Expression Value;
        // The instance that takes the value of a by-reference parameter afterwards; null for none.
        public string Name;
    }

    internal sealed class CallExpression : Expression
    {
        public readonly Expression Target;
        public readonly List<Argument> Arguments;

        public CallExpression(int position, Expression target, List<Argument> arguments) : base(position)
        {
            Target = target;
            Arguments = arguments;
        }
    }

    internal sealed class IndexExpression : Expression
    {
        public readonly Expression Target;
        public readonly List<Argument> Arguments;

        public IndexExpression(int position, Expression target, List<Argument> arguments) : base(position)
        {
            Target = target;
            Arguments = arguments;
        }
    }

    internal sealed class NewExpression : Expression
    {
        public readonly TypeSyntax Type;
        public readonly List<Argument> Arguments;
        // Null without.
        public readonly Initializer Initializer;

        public NewExpression(int position, TypeSyntax type, List<Argument> arguments, Initializer initializer) : base(position)
        {
            Type = type;
            Arguments = arguments;
            Initializer = initializer;
        }
    }

    // What follows "new T(arguments)" in braces. One of the two lists is null.
    internal sealed class Initializer
    {
        public int Position;
        // { Member = value, ... }
        public List<MemberInitializer> Members;
        // { element, { arguments of Add }, ... }
        public List<List<Expression>> Elements;
    }

    internal sealed class MemberInitializer
    {
        public int Position;
        public string Name;
        // One of the two is null; with the second, the member keeps its value, which is filled.
        public Expression Value;
        public Initializer Content;
    }

    // new T[sizes], new T[] { elements }, new T[sizes] { elements } or new[] { elements }.
    internal sealed class NewArrayExpression : Expression
    {
        // The array's own type; null for new[].
        public readonly TypeSyntax Type;
        // At least one of the two is there.
        public readonly List<Expression> Sizes;
        public readonly ArrayExpression Elements;

        public NewArrayExpression(int position, TypeSyntax type, List<Expression> sizes, ArrayExpression elements)
            : base(position)
        {
            Type = type;
            Sizes = sizes;
            Elements = elements;
        }
    }

    // { elements }: an array whose type follows from what it is used for.
    internal sealed class ArrayExpression : Expression
    {
        public readonly List<Expression> Elements;

        public ArrayExpression(int position, List<Expression> elements) : base(position)
        {
            Elements = elements;
        }
    }

    internal sealed class CastExpression : Expression
    {
        public readonly TypeSyntax Type;
        public readonly Expression Operand;

        public CastExpression(int position, TypeSyntax type, Expression operand) : base(position)
        {
            Type = type;
            Operand = operand;
        }
    }

    internal sealed class UnaryExpression : Expression
    {
        public readonly char Operator; // one of - + ! ~
        public readonly Expression Operand;

        public UnaryExpression(int position, char operation, Expression operand) : base(position)
        {
            Operator = operation;
            Operand = operand;
        }
    }

    // left | right, which joins flags.
    internal sealed class OrExpression : Expression
    {
        public readonly Expression Left;
        public readonly Expression Right;

        public OrExpression(int position, Expression left, Expression right) : base(position)
        {
            Left = left;
            Right = right;
        }
    }

    internal sealed class TypeofExpression : Expression
    {
        public readonly TypeSyntax Type;

        public TypeofExpression(int position, TypeSyntax type) : base(position)
        {
            Type = type;
        }
    }
}
