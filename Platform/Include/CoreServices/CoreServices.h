// CoreServices.h - the umbrella header of the services that the framework uses.
#pragma once

#include <CoreServices/DriverSynchronization.h>
#include <CoreServices/MacTypes.h>
#include <CoreServices/Multiprocessing.h>
