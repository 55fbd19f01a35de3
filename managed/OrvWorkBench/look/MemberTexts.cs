using System;
using System.Collections.Generic;
using System.Reflection;

namespace OrvWorkBench
{
    // Types and members as C# declares them.
    internal static class MemberTexts
    {
        // As "static double Parse(string text)", "double Target { get; set; }", "event System.EventHandler Changed".
        public static string Show(MemberInfo member)
        {
            Type nested = member as Type;
            if (nested != null)
                return KindOf(nested) + " " + TypeNames.Show(nested);
            ConstructorInfo constructor = member as ConstructorInfo;
            if (constructor != null)
                return Signatures.ShowDeclared(constructor);
            MethodInfo method = member as MethodInfo;
            if (method != null)
                return Static(method.IsStatic) + Signatures.ShowDeclared(method);
            PropertyInfo property = member as PropertyInfo;
            if (property != null)
                return ShowProperty(property);
            EventInfo watched = member as EventInfo;
            return watched != null ? ShowEvent(watched) : ShowField((FieldInfo)member);
        }

        // "class", "struct", "enum", "interface" or "delegate"; a class may be "static class" or "abstract class".
        public static string KindOf(Type type)
        {
            if (type.IsEnum)
                return "enum";
            if (type.IsInterface)
                return "interface";
            if (type.IsValueType)
                return "struct";
            if (typeof(Delegate).IsAssignableFrom(type) && type != typeof(Delegate) && type != typeof(MulticastDelegate))
                return "delegate";
            return type.IsAbstract ? (type.IsSealed ? "static class" : "abstract class") : "class";
        }

        // The same for a member: "constructor", "field", "property", "method", "event"; for a nested type "type".
        public static string KindOf(MemberInfo member)
        {
            if (member is Type)
                return "type";
            if (member is ConstructorInfo)
                return "constructor";
            if (member is MethodInfo)
                return "method";
            if (member is PropertyInfo)
                return "property";
            return member is EventInfo ? "event" : "field";
        }

        private static string Static(bool isStatic)
        {
            return isStatic ? "static " : "";
        }

        private static string ShowProperty(PropertyInfo property)
        {
            MethodInfo getter = Members.Accessor(property, false);
            MethodInfo setter = Members.Accessor(property, true);
            string accessors = (getter == null ? "" : " get;") + (setter == null ? "" : " set;");
            return Static((getter ?? setter).IsStatic) + TypeNames.Show(property.PropertyType) + " " +
                   Signatures.ShowName(property) + " {" + accessors + " }";
        }

        private static string ShowEvent(EventInfo watched)
        {
            MethodInfo adder = watched.GetAddMethod() ?? watched.GetRemoveMethod();
            return Static(adder != null && adder.IsStatic) + "event " + TypeNames.Show(watched.EventHandlerType) + " " + watched.Name;
        }

        private static string ShowField(FieldInfo field)
        {
            string start = field.IsLiteral ? "const " : Static(field.IsStatic) + (field.IsInitOnly ? "readonly " : "");
            return start + TypeNames.Show(field.FieldType) + " " + field.Name;
        }
    }
}
