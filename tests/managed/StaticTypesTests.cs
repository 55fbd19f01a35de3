using System;
using System.Collections.Generic;
using OrvWorkBench;

namespace OrvTest
{
    // What an expression is said to be without running it, and what comes out when it runs.
    internal static class StaticTypesTests
    {
        private static void Start()
        {
            Bench.Start();
            for (int i = 0; i < CSharpTests.s_instances.GetLength(0); ++i)
                CInvoke.CreateType(CSharpTests.s_instances[i, 0] + " = " + CSharpTests.s_instances[i, 2]);
            Bench.Printed();
        }

        // Null when it cannot be told.
        private static Type Told(string expression)
        {
            try
            {
                Node node = new StaticTypes(Look.At.Instances, Look.At.Types).Of(Parser.ParseSubject(expression));
                return node == null || node.Type != null ? null : node.MemberType;
            }
            catch (CommandError)
            {
                return null;
            }
        }

        // Null when nothing comes out.
        private static Value Run(string expression)
        {
            try
            {
                return Look.At.ValueOf(expression);
            }
            catch (CommandError)
            {
                return null;
            }
            catch (UserCodeError)
            {
                return null;
            }
        }

        public static void WhatIsToldIsWhatComesOut()
        {
            Start();
            int told = 0;
            int run = 0;
            foreach (string expression in CSharpTests.s_expressions)
            {
                if (expression.Contains(";"))
                    continue;
                Type type = Told(expression);
                Value value = Run(expression);
                if (value == null || value.Data == null)
                    continue;
                ++run;
                told += type != null && !type.ContainsGenericParameters ? 1 : 0;
                if (type != null && !type.ContainsGenericParameters)
                    Harness.True(type.IsInstanceOfType(value.Data) || type == value.Type, expression + " is told as " + TypeNames.Show(type) +
                                                                         " and gives " + TypeNames.Show(value.Data.GetType()));
                else
                    Harness.True(HasMethodAsArgument(expression), "not told: " + expression);
            }
            Harness.True(run > 250, run + " give a value");
            Harness.True(run - told < 10, told + " of them told");
        }

        // A type argument that follows from a method's name is not told: for that a delegate would have to be made.
        private static bool HasMethodAsArgument(string expression)
        {
            return expression.Contains("Probe.Text") || expression.Contains("Probe.Double") || expression.Contains("Convert.ToString)");
        }
    }
}
