using System;
using System.Collections.Generic;

namespace OrvSample
{
    public enum Mode
    {
        Off,
        Heat,
        Cool
    }

    // A room's thermostat: something small to try the workbench on.
    public class Thermostat
    {
        public const double Lowest = 5;
        public const double Highest = 30;

        private readonly string m_room;
        private readonly List<double> m_history = new List<double>();
        private double m_target;

        public Thermostat(string room) : this(room, 20)
        {
        }

        public Thermostat(string room, double target)
        {
            if (room == null)
                throw new ArgumentNullException("room");
            m_room = room;
            Target = target;
        }

        // Raised after each change of the target, with the value before.
        public event EventHandler<TargetEventArgs> TargetChanged;

        public string Room
        {
            get { return m_room; }
        }

        public Mode Mode { get; set; }

        // Degrees Celsius, from Lowest to Highest.
        public double Target
        {
            get { return m_target; }
            set
            {
                if (value < Lowest || value > Highest)
                    throw new ArgumentOutOfRangeException("value", value, "A target must lie between 5 and 30 degrees.");
                double before = m_target;
                m_target = value;
                m_history.Add(value);
                if (TargetChanged != null)
                    TargetChanged(this, new TargetEventArgs(before));
            }
        }

        // Every target so far, the first one included.
        public IList<double> History
        {
            get { return m_history.AsReadOnly(); }
        }

        public double Raise(double degrees)
        {
            Console.WriteLine("{0}: raising by {1}", m_room, degrees);
            Target += degrees;
            return m_target;
        }

        // The mode that a measured temperature asks for, and how far it is off.
        public Mode Measure(double temperature, out double difference)
        {
            difference = m_target - temperature;
            Mode = difference > 0.5 ? Mode.Heat : difference < -0.5 ? Mode.Cool : Mode.Off;
            return Mode;
        }

        public static double ToFahrenheit(double celsius)
        {
            return celsius * 9 / 5 + 32;
        }

        // Always fails.
        public void Overheat()
        {
            try
            {
                Target = 1000;
            }
            catch (ArgumentException error)
            {
                throw new InvalidOperationException("The thermostat of " + m_room + " cannot overheat.", error);
            }
        }

        public override string ToString()
        {
            return m_room + " at " + m_target.ToString(System.Globalization.CultureInfo.InvariantCulture);
        }
    }

    public class TargetEventArgs : EventArgs
    {
        private readonly double m_before;

        public TargetEventArgs(double before)
        {
            m_before = before;
        }

        public double Before
        {
            get { return m_before; }
        }

        public override string ToString()
        {
            return "before " + m_before.ToString(System.Globalization.CultureInfo.InvariantCulture);
        }
    }
}
