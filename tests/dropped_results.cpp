// Each of these lines drops what must be kept, and a compiler that is asked for warnings says so.
// Built by check_headers alone, which includes the public headers before it.
void DropResults(Common::STimeProvider& clock, Common::SFrameUtility& frames,
                 Common::Unique::SRuntimeUniqueId& ids, Common::AccumulatorHandle handle,
                 Common::Kit::Trace& trace) {
  clock.MakeTimeFiller(1'000);
  clock.MakePeriodic(Common::PeriodicKind::Sine, 1'000, 0.5F);
  frames.CreateReactor(0);
  ids.OverrideCounter(1);
  Vorn::Service<Common::STimeProvider>::Create(&clock);
  Common::ScopedMeasurement{handle};
  Common::Kit::TracedMeasurement(handle, trace);
  Common::Kit::ScopedTimerResolution();
  Common::Kit::Stored<Common::Kit::StandInClock>();
  Common::ManufactureConfigFile();
  Common::ManufactureFrameUtility();
  Common::Log::ManufactureMessageLog();
  Common::ManufacturePerformanceProfiler();
  Common::Unique::Manufacture();
  Common::ManufactureSeedProvider();
  Common::ManufactureTimeProvider();
}
