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

        // As its class declares it: "double Add(string name)"; a constructor as "Cart(string name)".
        public static string ShowDeclared(MethodBase method)
        {
            MethodInfo function = method as MethodInfo;
            string name = function == null ? BareName(method.DeclaringType) : TypeNames.Show(function.ReturnType) + " " + MethodName(method.Name);
            string arguments = method.IsGenericMethod ? "<" + TypeNames.ShowAll(method.GetGenericArguments()) + ">" : "";
            return name + arguments + "(" + ShowAll(method.GetParameters()) + ")";
        }

        // The property's name; of an indexer "this[string name]".
        public static string ShowName(PropertyInfo property)
        {
            ParameterInfo[] parameters = property.GetIndexParameters();
            return parameters.Length == 0 ? property.Name : "this[" + ShowAll(parameters) + "]";
        }

        private static string BareName(Type type)
        {
            int tick = type.Name.IndexOf('`');
            return tick < 0 ? type.Name : type.Name.Substring(0, tick);
        }

        // Operators have names that C# does not write.
        private static string MethodName(string name)
        {
            const string c_operators = " op_Addition + op_Subtraction - op_Multiply * op_Division / op_Modulus % op_BitwiseAnd & " +
                                       "op_BitwiseOr | op_ExclusiveOr ^ op_LeftShift << op_RightShift >> op_Equality == " +
                                       "op_Inequality != op_LessThan < op_GreaterThan > op_LessThanOrEqual <= " +
                                       "op_GreaterThanOrEqual >= op_UnaryPlus + op_UnaryNegation - op_LogicalNot ! " +
                                       "op_OnesComplement ~ op_Increment ++ op_Decrement -- op_True true op_False false " +
                                       "op_Implicit implicit op_Explicit explicit ";
            int found = c_operators.IndexOf(" " + name + " ", StringComparison.Ordinal);
            if (!name.StartsWith("op_", StringComparison.Ordinal) || found < 0)
                return name;
            int start = found + name.Length + 2;
            return "operator " + c_operators.Substring(start, c_operators.IndexOf(' ', start) - start);
        }

        private static string ShowAll(ParameterInfo[] parameters)
        {
            StringBuilder text = new StringBuilder();
            for (int i = 0; i < parameters.Length; ++i)
                text.Append(i > 0 ? ", " : "").Append(ShowParameter(parameters[i]));
            return text.ToString();
        }

        public static string ShowParameter(ParameterInfo parameter)
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
