using System.Collections.Generic;

namespace OrvWorkBench
{
    // Names as a command text has them.
    internal static class WrittenName
    {
        // With '@' when it is a keyword; null for what no command can name, such as a name that a compiler made up.
        public static string Of(string name)
        {
            if (!IsPlain(name) && !IsOneToken(name))
                return null;
            return Lexer.IsKeyword(name) ? "@" + name : name;
        }

        // An assembly's simple name between brackets; in quotes when it has other characters than those of a dotted name.
        public static string OfAssembly(string name)
        {
            foreach (string part in name.Split('.', '-'))
            {
                if (Of(part) != part)
                    return "\"" + name.Replace("\\", "\\\\").Replace("\"", "\\\"") + "\"";
            }
            return name;
        }

        // Nearly all names are.
        private static bool IsPlain(string name)
        {
            foreach (char c in name)
            {
                if ((c < 'a' || c > 'z') && (c < 'A' || c > 'Z') && (c < '0' || c > '9') && c != '_')
                    return false;
            }
            return name.Length > 0 && (name[0] < '0' || name[0] > '9');
        }

        private static bool IsOneToken(string name)
        {
            try
            {
                List<Token> tokens = Lexer.Read(name);
                return tokens.Count == 2 && tokens[0].Kind == TokenKind.Name && tokens[0].Text == name;
            }
            catch (CommandError)
            {
                return false;
            }
        }
    }
}
