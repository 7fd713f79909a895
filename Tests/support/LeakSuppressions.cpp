// What the library allocates for the life of the process is never freed.
extern "C" const char* __lsan_default_suppressions() {
   return "leak:Topology::loadTopology\n"
          "leak:Component::HardwareDevice::\n"
          "leak:Component::MultiDevice::\n"
          "leak:Component::LogicalDevice::\n"
          "leak:Ham::createHam\n"
          "leak:Ham::LumenSmbusHam::create\n"
          "leak:Drivers::*::new\n"
          "leak:pl_system_add\n"
          "leak:pl_timer_add\n";
}
