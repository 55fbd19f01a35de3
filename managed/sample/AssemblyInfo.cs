using System.Reflection;

[assembly: AssemblyTitle("Sample for the workbench")]
[assembly: AssemblyVersion("1.0.0.0")]
