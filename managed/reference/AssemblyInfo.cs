using System.Reflection;

// The part of the 2.0 class library (its mscorlib.dll) that the dispatcher and the sample use, as declarations. They
// are compiled against this and nothing else, so what 2.0 lacks cannot come in. It is never loaded: at run time the
// names mean the real library.
//
// To use something new, add its declaration here, exactly as 2.0 has it: kind of type, base class, parameters, values
// of constants. An interface is always declared whole, a class only as far as it is used; "internal" stands where the
// real constructor cannot be called. Some types and members are here for the compiler, which uses them without being
// asked.
[assembly: AssemblyVersion("2.0.0.0")]
