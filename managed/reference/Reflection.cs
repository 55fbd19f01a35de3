using System.Reflection;

namespace System
{
    public abstract class Type : MemberInfo
    {
        public static readonly Type[] EmptyTypes;
        public abstract Assembly Assembly { get; }
        public abstract Type BaseType { get; }
        public virtual bool ContainsGenericParameters { get { throw null; } }
        public virtual MethodBase DeclaringMethod { get { throw null; } }
        public virtual int GenericParameterPosition { get { throw null; } }
        public abstract string FullName { get; }
        public bool IsAbstract { get { throw null; } }
        public bool HasElementType { get { throw null; } }
        public bool IsArray { get { throw null; } }
        public bool IsByRef { get { throw null; } }
        public bool IsEnum { get { throw null; } }
        public virtual bool IsGenericParameter { get { throw null; } }
        public virtual bool IsGenericType { get { throw null; } }
        public virtual bool IsGenericTypeDefinition { get { throw null; } }
        public bool IsInterface { get { throw null; } }
        public bool IsPointer { get { throw null; } }
        public bool IsPrimitive { get { throw null; } }
        public bool IsSealed { get { throw null; } }
        public bool IsValueType { get { throw null; } }
        public bool IsVisible { get { throw null; } }
        public abstract string Namespace { get; }
        public virtual int GetArrayRank() { throw null; }
        public ConstructorInfo GetConstructor(Type[] types) { throw null; }
        public abstract ConstructorInfo[] GetConstructors(BindingFlags bindingAttr);
        public virtual MemberInfo[] GetDefaultMembers() { throw null; }
        public abstract Type GetElementType();
        public abstract EventInfo[] GetEvents(BindingFlags bindingAttr);
        public abstract FieldInfo[] GetFields(BindingFlags bindingAttr);
        public abstract Type[] GetNestedTypes(BindingFlags bindingAttr);
        public abstract EventInfo GetEvent(string name, BindingFlags bindingAttr);
        public abstract FieldInfo GetField(string name, BindingFlags bindingAttr);
        public virtual Type[] GetGenericArguments() { throw null; }
        public virtual Type GetGenericTypeDefinition() { throw null; }
        public abstract Type[] GetInterfaces();
        public abstract MemberInfo[] GetMembers(BindingFlags bindingAttr);
        public MethodInfo GetMethod(string name) { throw null; }
        public MethodInfo GetMethod(string name, BindingFlags bindingAttr) { throw null; }
        public MethodInfo GetMethod(string name, Type[] types) { throw null; }
        public abstract MethodInfo[] GetMethods(BindingFlags bindingAttr);
        public abstract Type GetNestedType(string name, BindingFlags bindingAttr);
        public abstract PropertyInfo[] GetProperties(BindingFlags bindingAttr);
        public PropertyInfo GetProperty(string name) { throw null; }
        public PropertyInfo GetProperty(string name, Type returnType, Type[] types) { throw null; }
        public static TypeCode GetTypeCode(Type type) { throw null; }
        public static Type GetTypeFromHandle(RuntimeTypeHandle handle) { throw null; }
        public virtual bool IsAssignableFrom(Type c) { throw null; }
        public virtual bool IsInstanceOfType(object o) { throw null; }
        public virtual Type MakeByRefType() { throw null; }
        public virtual Type MakeArrayType() { throw null; }
        public virtual Type MakeArrayType(int rank) { throw null; }
        public virtual Type MakeGenericType(params Type[] typeArguments) { throw null; }
    }
}

namespace System.Reflection
{
    public class Assembly
    {
        internal Assembly() { }
        public virtual string FullName { get { throw null; } }
        public bool GlobalAssemblyCache { get { throw null; } }
        public virtual string Location { get { throw null; } }
        public virtual AssemblyName GetName() { throw null; }
        public AssemblyName[] GetReferencedAssemblies() { throw null; }
        public Type GetType(string name, bool throwOnError, bool ignoreCase) { throw null; }
        public virtual Type[] GetTypes() { throw null; }
        public static Assembly Load(AssemblyName assemblyRef) { throw null; }
        public static Assembly LoadFrom(string assemblyFile) { throw null; }
        public static Assembly LoadWithPartialName(string partialName) { throw null; }
    }

    public sealed class AssemblyName
    {
        public AssemblyName(string assemblyName) { }
        public string FullName { get { throw null; } }
        public string Name { get { throw null; } }
        public static AssemblyName GetAssemblyName(string assemblyFile) { throw null; }
    }

    public enum BindingFlags
    {
        DeclaredOnly = 2,
        Instance = 4,
        Static = 8,
        Public = 16,
        NonPublic = 32,
        FlattenHierarchy = 64
    }

    public abstract class ConstructorInfo : MethodBase
    {
        public object Invoke(object[] parameters) { throw null; }
    }

    public abstract class EventInfo : MemberInfo
    {
        public Type EventHandlerType { get { throw null; } }
        public MethodInfo GetAddMethod() { throw null; }
        public MethodInfo GetRemoveMethod() { throw null; }
    }

    public abstract class FieldInfo : MemberInfo
    {
        public bool IsStatic { get { throw null; } }
        public abstract Type FieldType { get; }
        public bool IsInitOnly { get { throw null; } }
        public bool IsLiteral { get { throw null; } }
        public bool IsSpecialName { get { throw null; } }
        public abstract object GetValue(object obj);
        public void SetValue(object obj, object value) { }
    }

    public abstract class MemberInfo
    {
        public abstract Type DeclaringType { get; }
        public virtual int MetadataToken { get { throw null; } }
        public abstract string Name { get; }
    }

    public enum CallingConventions
    {
        VarArgs = 2
    }

    public abstract class MethodBase : MemberInfo
    {
        public virtual CallingConventions CallingConvention { get { throw null; } }
        public bool IsPublic { get { throw null; } }
        public bool IsStatic { get { throw null; } }
        public bool IsVirtual { get { throw null; } }
        public virtual bool IsGenericMethod { get { throw null; } }
        public virtual bool IsGenericMethodDefinition { get { throw null; } }
        public bool IsSpecialName { get { throw null; } }
        public virtual Type[] GetGenericArguments() { throw null; }
        public abstract ParameterInfo[] GetParameters();
        public object Invoke(object obj, object[] parameters) { throw null; }
    }

    public abstract class MethodInfo : MethodBase
    {
        public virtual MethodInfo GetGenericMethodDefinition() { throw null; }
        public virtual Type ReturnType { get { throw null; } }
        public abstract MethodInfo GetBaseDefinition();
        public virtual MethodInfo MakeGenericMethod(params Type[] typeArguments) { throw null; }
    }

    public sealed class Missing
    {
        internal Missing() { }
    }

    public class Module
    {
        internal Module() { }
        public Assembly Assembly { get { throw null; } }
    }

    public class ParameterInfo
    {
        internal ParameterInfo() { }
        public virtual MemberInfo Member { get { throw null; } }
        public virtual object DefaultValue { get { throw null; } }
        public bool IsIn { get { throw null; } }
        public bool IsOptional { get { throw null; } }
        public bool IsOut { get { throw null; } }
        public virtual string Name { get { throw null; } }
        public virtual Type ParameterType { get { throw null; } }
        public virtual bool IsDefined(Type attributeType, bool inherit) { throw null; }
    }

    public abstract class PropertyInfo : MemberInfo
    {
        public abstract bool CanRead { get; }
        public abstract Type PropertyType { get; }
        public MethodInfo GetGetMethod() { throw null; }
        public abstract MethodInfo GetGetMethod(bool nonPublic);
        public abstract ParameterInfo[] GetIndexParameters();
        public MethodInfo GetSetMethod() { throw null; }
        public abstract MethodInfo GetSetMethod(bool nonPublic);
        public virtual object GetValue(object obj, object[] index) { throw null; }
    }
}
