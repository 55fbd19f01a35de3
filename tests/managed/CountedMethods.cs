using System;
using System.Collections.Generic;
using System.Globalization;
using System.Reflection;

namespace OrvTest
{
    // A type whose methods tell how often somebody has read their parameters.
    internal sealed class CountedMethods : TypeDelegator
    {
        public readonly List<CountedMethod> All = new List<CountedMethod>();

        public CountedMethods(Type type) : base(type)
        {
            foreach (MethodInfo method in type.GetMethods(BindingFlags.Public | BindingFlags.Static | BindingFlags.DeclaredOnly))
                All.Add(new CountedMethod(method));
        }

        public override MethodInfo[] GetMethods(BindingFlags flags)
        {
            return All.ToArray();
        }
    }

    internal sealed class CountedMethod : MethodInfo
    {
        private readonly MethodInfo m_method;
        public int Reads;

        public CountedMethod(MethodInfo method)
        {
            m_method = method;
        }

        public override ParameterInfo[] GetParameters()
        {
            ++Reads;
            return m_method.GetParameters();
        }

        public override string Name
        {
            get { return m_method.Name; }
        }

        public override Type DeclaringType
        {
            get { return m_method.DeclaringType; }
        }

        public override Type ReflectedType
        {
            get { return m_method.ReflectedType; }
        }

        public override Type ReturnType
        {
            get { return m_method.ReturnType; }
        }

        public override MethodAttributes Attributes
        {
            get { return m_method.Attributes; }
        }

        public override RuntimeMethodHandle MethodHandle
        {
            get { return m_method.MethodHandle; }
        }

        public override ICustomAttributeProvider ReturnTypeCustomAttributes
        {
            get { return m_method.ReturnTypeCustomAttributes; }
        }

        public override MethodImplAttributes GetMethodImplementationFlags()
        {
            return m_method.GetMethodImplementationFlags();
        }

        public override MethodInfo GetBaseDefinition()
        {
            return m_method.GetBaseDefinition();
        }

        public override object[] GetCustomAttributes(bool inherit)
        {
            return m_method.GetCustomAttributes(inherit);
        }

        public override object[] GetCustomAttributes(Type type, bool inherit)
        {
            return m_method.GetCustomAttributes(type, inherit);
        }

        public override bool IsDefined(Type type, bool inherit)
        {
            return m_method.IsDefined(type, inherit);
        }

        public override object Invoke(object target, BindingFlags flags, Binder binder, object[] arguments, CultureInfo culture)
        {
            return m_method.Invoke(target, flags, binder, arguments, culture);
        }
    }
}
