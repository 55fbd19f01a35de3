using System;
using System.Reflection;
using System.Text;

namespace OrvWorkBench
{
    // Methods and their parameters as C# writes them.
    internal static class Signatures
    {
        // As "double Shop.Cart.Add(string name, [int count])"; what may be left out stands in brackets.
        public static string Show(MethodBase method)
        {
            StringBuilder text = new StringBuilder();
            MethodInfo function = method as MethodInfo;
            if (function != null)
                text.Append(TypeNames.Show(function.ReturnType)).Append(' ');
            text.Append(TypeNames.Show(method.DeclaringType));
            if (function != null)
                text.Append('.').Append(method.Name);
            if (method.IsGenericMethod)
                text.Append('<').Append(TypeNames.ShowAll(method.GetGenericArguments())).Append('>');
            text.Append('(');
            return text.Append(ShowAll(method.GetParameters())).Append(')').ToString();
        }

        // As "int Shop.Cart.this[string name]".
        public static string Show(PropertyInfo indexer)
        {
            return TypeNames.Show(indexer.PropertyType) + " " + TypeNames.Show(indexer.DeclaringType) + ".this[" +
                   ShowAll(indexer.GetIndexParameters()) + "]";
        }

        private static string ShowAll(ParameterInfo[] parameters)
        {
            StringBuilder text = new StringBuilder();
            for (int i = 0; i < parameters.Length; ++i)
                text.Append(i > 0 ? ", " : "").Append(ShowParameter(parameters[i]));
            return text.ToString();
        }

        private static string ShowParameter(ParameterInfo parameter)
        {
            Type type = parameter.ParameterType;
            string text = IsOut(parameter) ? "out " + TypeNames.Show(type.GetElementType()) : TypeNames.Show(type);
            if (TakesMany(parameter))
                text = "params " + text;
            if (!string.IsNullOrEmpty(parameter.Name))
                text += " " + parameter.Name;
            return parameter.IsOptional ? "[" + text + "]" : text;
        }

        // Whether C# writes "out" before the argument; for other by-reference parameters it writes "ref".
        public static bool IsOut(ParameterInfo parameter)
        {
            return parameter.ParameterType.IsByRef && parameter.IsOut && !parameter.IsIn;
        }

        // Whether the parameter is declared with "params": it takes any number of arguments as one array.
        public static bool TakesMany(ParameterInfo parameter)
        {
            return parameter.ParameterType.IsArray && parameter.IsDefined(typeof(ParamArrayAttribute), false);
        }
    }
}
