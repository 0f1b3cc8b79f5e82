// The part is its fields: what is here gives the class a home for its table of virtual functions.
#include "VKHttpPart.h"

VKHttpPart::VKHttpPart() = default;

VKHttpPart::~VKHttpPart() = default;
