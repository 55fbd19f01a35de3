using System;
using System.Text;

namespace OrvReferences
{
    // Signatures as texts (ECMA-335, partition II, 23.2), the same for the same signature in whatever file it stands.
    internal sealed class SignatureReader
    {
        private const int c_field = 0x06;
        private const int c_generic = 0x10;

        private static readonly string[] s_primitives = new string[] {
            "", "void", "bool", "char", "sbyte", "byte", "short", "ushort", "int", "uint", "long", "ulong", "float",
            "double", "string"
        };

        private readonly TypeNames m_names;
        private readonly byte[] m_blob;
        private int m_at;

        private SignatureReader(TypeNames names, byte[] blob)
        {
            m_names = names;
            m_blob = blob;
        }

        // The signature of a field or a method.
        public static string ReadMember(TypeNames names, byte[] blob)
        {
            SignatureReader reader = new SignatureReader(names, blob);
            return blob[0] == c_field ? reader.ReadField() : reader.ReadMethod();
        }

        // The name of the type that a generic one is made from; null for an array, which is no type of a library.
        public static string ReadDefinition(TypeNames names, byte[] blob)
        {
            const int genericInstance = 0x15;
            SignatureReader reader = new SignatureReader(names, blob);
            if (reader.Number() != genericInstance)
                return null;
            reader.Number();
            return names.Of(reader.Number());
        }

        // A number of one, two or four bytes.
        public static int ReadNumber(byte[] bytes, ref int at)
        {
            int first = bytes[at++];
            if ((first & 0x80) == 0)
                return first;
            if ((first & 0x40) == 0)
                return (first & 0x3F) << 8 | bytes[at++];
            int number = (first & 0x1F) << 24 | bytes[at] << 16 | bytes[at + 1] << 8 | bytes[at + 2];
            at += 3;
            return number;
        }

        private int Number()
        {
            return ReadNumber(m_blob, ref m_at);
        }

        private string ReadField()
        {
            Number();
            return ReadType();
        }

        private string ReadMethod()
        {
            int convention = Number();
            StringBuilder text = new StringBuilder((convention & 0x20) != 0 ? "instance " : "static ");
            if ((convention & c_generic) != 0)
                text.Append('<').Append(Number()).Append("> ");
            int parameters = Number();
            text.Append(ReadType()).Append(" (");
            for (int i = 0; i < parameters; ++i)
                text.Append(i > 0 ? ", " : "").Append(ReadType());
            return text.Append(')').ToString();
        }

        private string ReadType()
        {
            int kind = Number();
            if (kind > 0 && kind < s_primitives.Length)
                return s_primitives[kind];
            switch (kind)
            {
            case 0x0F:
                return ReadType() + "*";
            case 0x10:
                return ReadType() + "&";
            case 0x11:
                return "struct " + m_names.Of(Number());
            case 0x12:
                return "class " + m_names.Of(Number());
            case 0x13:
                return "!" + Number();
            case 0x14:
                return ReadArray();
            case 0x15:
                return ReadGeneric();
            case 0x18:
                return "IntPtr";
            case 0x19:
                return "UIntPtr";
            case 0x1C:
                return "object";
            case 0x1D:
                return ReadType() + "[]";
            case 0x1E:
                return "!!" + Number();
            case 0x1F:
            case 0x20:
                return "modified by " + m_names.Of(Number()) + " " + ReadType();
            default:
                throw new BadImageFormatException("unknown type " + kind + " in a signature");
            }
        }

        private string ReadGeneric()
        {
            StringBuilder text = new StringBuilder(ReadType()).Append('<');
            int count = Number();
            for (int i = 0; i < count; ++i)
                text.Append(i > 0 ? ", " : "").Append(ReadType());
            return text.Append('>').ToString();
        }

        private string ReadArray()
        {
            StringBuilder text = new StringBuilder(ReadType()).Append('[').Append(Number());
            // Sizes, then lower bounds, each with their count.
            for (int part = 0; part < 2; ++part)
            {
                int count = Number();
                text.Append(';');
                for (int i = 0; i < count; ++i)
                    text.Append(' ').Append(Number());
            }
            return text.Append(']').ToString();
        }
    }
}
