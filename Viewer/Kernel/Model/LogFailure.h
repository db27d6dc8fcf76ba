#pragma once

#include <Viewer/Kernel/Host/Core/Logger.h>

/// Logs a failure of the module at level 3 and its location line at level 1.
#define MIREL_FAILURE(...)                                                                                   \
  do {                                                                                                       \
    ::mirel::Logger::Instance().Message(3, __VA_ARGS__);                                                     \
    ::mirel::Logger::Instance().Message(1, "\t#%d, %s", __LINE__, ::mirel::Logger::GetFileName(__FILE__));   \
  } while (false)
