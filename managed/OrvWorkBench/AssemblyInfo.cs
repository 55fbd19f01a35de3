using System.Reflection;

[assembly: AssemblyTitle("Dispatcher of the workbench")]
[assembly: AssemblyProduct("OrvWorkBench64")]
[assembly: AssemblyVersion("1.0.0.0")]
