#include "abcObject.h"

abcObject::abcObject(quint32 objectType)
    : m_type(objectType)
{
}

abcObject::~abcObject() = default;
