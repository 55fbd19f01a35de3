using System;
using System.Collections.Generic;
using System.Reflection;
using System.Text;

namespace OrvTest
{
    // Types and members as C# writes them, out of the names that the runtime prints.
    internal static class ReflectedText
    {
        private static readonly string[] s_keywords = {
            "System.Boolean bool", "System.Byte byte", "System.SByte sbyte", "System.Char char", "System.Int16 short", "System.UInt16 ushort",
            "System.Int32 int", "System.UInt32 uint", "System.Int64 long", "System.UInt64 ulong", "System.Single float", "System.Double double",
            "System.Decimal decimal", "System.String string", "System.Object object", "System.Void void",
        };
        private static readonly string[] s_operators = {
            "Addition +", "Subtraction -", "Multiply *", "Division /", "Modulus %", "BitwiseAnd &", "BitwiseOr |", "ExclusiveOr ^", "LeftShift <<",
            "RightShift >>", "Equality ==", "Inequality !=", "LessThan <", "GreaterThan >", "LessThanOrEqual <=", "GreaterThanOrEqual >=",
            "UnaryPlus +", "UnaryNegation -", "LogicalNot !", "OnesComplement ~", "Increment ++", "Decrement --", "True true", "False false",
            "Implicit implicit", "Explicit explicit",
        };

        public static string NameOf(Type type)
        {
            int at = 0;
            // A generic definition prints as its name and its parameters; a parameter as its name.
            if (type == typeof(Nullable<>))
                return "System.Nullable<T>";
            return type.IsGenericParameter ? type.Name : Read(type.ToString(), ref at);
        }

        // One name of "Outer`1+Inner`2[A,B,C][,][]&", up to what does not belong to it.
        private static string Read(string text, ref int at)
        {
            int start = at;
            while (at < text.Length && "[],&*".IndexOf(text[at]) < 0)
                ++at;
            string name = text.Substring(start, at - start);
            List<string> arguments = new List<string>();
            if (at + 1 < text.Length && text[at] == '[' && "],*".IndexOf(text[at + 1]) < 0)
            {
                do
                {
                    ++at;
                    arguments.Add(Read(text, ref at));
                }
                while (text[at] == ',');
                ++at;
            }
            string shown = name == "System.Nullable`1" ? arguments[0] + "?" : Plain(name, arguments);
            return ReadSuffixes(text, ref at, shown);
        }

        private static string Plain(string name, List<string> arguments)
        {
            foreach (string keyword in s_keywords)
            {
                if (keyword.StartsWith(name + " "))
                    return keyword.Substring(name.Length + 1);
            }
            StringBuilder text = new StringBuilder();
            int used = 0;
            foreach (string part in name.Split('+'))
            {
                string[] halves = part.Split('`');
                text.Append(text.Length > 0 ? "." : "").Append(halves[0]);
                if (halves.Length == 1)
                    continue;
                int count = int.Parse(halves[1]);
                text.Append('<').Append(string.Join(", ", arguments.GetRange(used, count).ToArray())).Append('>');
                used += count;
            }
            return text.ToString();
        }

        // Arrays of arrays are printed from the inside, and written from the outside.
        private static string ReadSuffixes(string text, ref int at, string shown)
        {
            string ranks = "";
            while (at < text.Length && "[&*".IndexOf(text[at]) >= 0)
            {
                if (text[at] == '&')
                    shown = "ref " + shown + ranks;
                if (text[at] == '*')
                    shown = shown + ranks + "*";
                if (text[at] != '[')
                {
                    ranks = "";
                    ++at;
                    continue;
                }
                int end = text.IndexOf(']', at) + 1;
                ranks = text.Substring(at, end - at) + ranks;
                at = end;
            }
            return shown + ranks;
        }

        public static string KindOf(Type type)
        {
            if (type.IsInterface)
                return "interface";
            if (type.IsEnum)
                return "enum";
            if (type.IsValueType)
                return "struct";
            if (type.BaseType == typeof(MulticastDelegate))
                return "delegate";
            return (type.IsAbstract && type.IsSealed ? "static " : type.IsAbstract ? "abstract " : "") + "class";
        }

        // "class Name : Base, IFirst".
        public static string HeadOf(Type type)
        {
            List<string> bases = new List<string>();
            if (!type.IsEnum)
            {
                if (type.IsClass && type.BaseType != null && type.BaseType != typeof(object))
                    bases.Add(NameOf(type.BaseType));
                foreach (Type one in type.GetInterfaces())
                    bases.Add(NameOf(one));
            }
            return KindOf(type) + " " + NameOf(type) + (bases.Count > 0 ? " : " + string.Join(", ", bases.ToArray()) : "");
        }

        public static string Of(MemberInfo member)
        {
            switch (member.MemberType)
            {
            case MemberTypes.Constructor:
                return member.DeclaringType.Name.Split('`')[0] + "(" + Of(((ConstructorInfo)member).GetParameters()) + ")";
            case MemberTypes.Field:
                return Of((FieldInfo)member);
            case MemberTypes.Property:
                return Of((PropertyInfo)member);
            case MemberTypes.Event:
                EventInfo raised = (EventInfo)member;
                return (raised.GetAddMethod().IsStatic ? "static " : "") + "event " + NameOf(raised.EventHandlerType) + " " + raised.Name;
            case MemberTypes.NestedType:
                return KindOf((Type)member) + " " + NameOf((Type)member);
            default:
                return Of((MethodInfo)member);
            }
        }

        private static string Of(FieldInfo field)
        {
            string modifier = field.IsLiteral ? "const " : (field.IsStatic ? "static " : "") + (field.IsInitOnly ? "readonly " : "");
            return modifier + NameOf(field.FieldType) + " " + field.Name;
        }

        private static string Of(PropertyInfo property)
        {
            ParameterInfo[] indices = property.GetIndexParameters();
            string name = indices.Length == 0 ? property.Name : "this[" + Of(indices) + "]";
            string accessors = (HasAccessor(property, false) ? " get;" : "") + (HasAccessor(property, true) ? " set;" : "");
            return (property.GetAccessors()[0].IsStatic ? "static " : "") + NameOf(property.PropertyType) + " " + name + " {" + accessors + " }";
        }

        // An override of one accessor leaves the other to the class that has it.
        private static bool HasAccessor(PropertyInfo property, bool isSetter)
        {
            MethodInfo[] own = property.GetAccessors(true);
            MethodInfo found = Array.Find<MethodInfo>(own, delegate(MethodInfo one) { return (one.ReturnType == typeof(void)) == isSetter; });
            if (found != null)
                return found.IsPublic;
            if (own[0].GetBaseDefinition().DeclaringType == property.DeclaringType || property.DeclaringType.BaseType == null)
                return false;
            Type[] indices = Array.ConvertAll<ParameterInfo, Type>(property.GetIndexParameters(), delegate(ParameterInfo one) { return one.ParameterType; });
            PropertyInfo overridden = property.DeclaringType.BaseType.GetProperty(
                property.Name, BindingFlags.Public | BindingFlags.NonPublic | BindingFlags.Instance, null, property.PropertyType, indices, null);
            return overridden != null && HasAccessor(overridden, isSetter);
        }

        private static string Of(MethodInfo method)
        {
            string name = method.Name;
            foreach (string one in s_operators)
            {
                if (name.StartsWith("op_") && one.StartsWith(name.Substring(3) + " "))
                    name = "operator " + one.Substring(name.Length - 2);
            }
            if (method.IsGenericMethod)
                name += "<" + string.Join(", ", Array.ConvertAll<Type, string>(method.GetGenericArguments(), NameOf)) + ">";
            return (method.IsStatic ? "static " : "") + NameOf(method.ReturnType) + " " + name + "(" + Of(method.GetParameters()) + ")";
        }

        private static string Of(ParameterInfo[] parameters)
        {
            return string.Join(", ", Array.ConvertAll<ParameterInfo, string>(parameters, Of));
        }

        private static string Of(ParameterInfo parameter)
        {
            string type = NameOf(parameter.ParameterType);
            if (parameter.ParameterType.IsByRef && (parameter.Attributes & (ParameterAttributes.Out | ParameterAttributes.In)) == ParameterAttributes.Out)
                type = "out " + type.Substring("ref ".Length);
            if (parameter.ParameterType.IsArray && parameter.GetCustomAttributes(typeof(ParamArrayAttribute), false).Length > 0)
                type = "params " + type;
            string text = (type + " " + parameter.Name).TrimEnd();
            return parameter.IsOptional ? "[" + text + "]" : text;
        }
    }
}
