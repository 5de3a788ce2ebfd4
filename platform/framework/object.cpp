#include "object.h"

const CRuntimeClass CObject::classCObject = {"CObject", nullptr};
