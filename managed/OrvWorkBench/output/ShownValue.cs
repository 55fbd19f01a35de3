using System;

namespace OrvWorkBench
{
    // What a value's text leaves out.
    internal enum Omission
    {
        Nothing,
        // Elements behind the first ones, of the value itself.
        Elements,
        // Elements of one of its elements, or what lies deeper.
        Depth,
        // The end of the value, which is a string.
        Characters,
        // The end of what its ToString gives.
        OwnText,
        // All elements of a sequence that must not be read for a look at it.
        Sequence
    }

    // A value as text, and what the text leaves out.
    internal struct ShownValue
    {
        // Null for a null reference of no certain type.
        public string Type;
        // Null for an object whose class has no text of its own.
        public string Value;
        // The whole value when it is a string, else null.
        public string Whole;
        public Omission Omitted;

        // Type and value, as "double 21.5" or "int[] (3) { 1, 2, 3 }".
        public string Text
        {
            get { return Type == null ? Value : Value == null ? Type : Type + " " + Value; }
        }

        // Prints type and value behind the lead, and how to see what is left out. The name is that by which the user can
        // call the value. Returns what was printed.
        public static ShownValue Print(string lead, object value, Type declared, string name)
        {
            ShownValue shown = Formatter.ShowWhole(value, declared);
            Output.Line(lead + shown.Text);
            shown.PrintWay(name);
            return shown;
        }

        // Prints how to see what is left out of the value that the user calls by that name; nothing when all is shown.
        public void PrintWay(string name)
        {
            string way = WayToTheRest(name);
            if (way != null)
                Output.Line("  " + way);
        }

        // Null when all is shown.
        private string WayToTheRest(string name)
        {
            switch (Omitted)
            {
            case Omission.Elements:
                return "more: invoke walk(" + name + ", " + Formatter.GreatestElements + ")";
            case Omission.Depth:
                return "more: invoke walk(" + name + ")";
            case Omission.Characters:
                return "more: invoke " + name + ".Substring(" + Formatter.GreatestText + ")";
            case Omission.OwnText:
                return "more: invoke " + name + ".ToString()";
            case Omission.Sequence:
                return "to read it: invoke walk(" + name + ")";
            default:
                return null;
            }
        }
    }
}
