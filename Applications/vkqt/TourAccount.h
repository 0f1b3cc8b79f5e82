// The chapter of the tour in which requests are made, and somebody logs in to the demonstration service.
#pragma once

#include "Tour.h"

namespace VKTool {

/// `program` is the service's; left out when there is none.
void showAccount(Tour& tour, const QString& program);

} // namespace VKTool
