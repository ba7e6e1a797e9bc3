#pragma once

#include "sdk_export.h"

#include <QUuid>
#include <QtGlobal>

/// The answer of QUnknownInterface::queryInterface.
using QRESULT = quint32;
constexpr QRESULT QS_OK = 0x00000000;
/// The interface asked for is not one the object offers.
constexpr QRESULT QE_NOINTERFACE = 0x80000004;

/// The root of every interface a plug-in offers. An object hands out its
/// faces by identity and counts the references to itself: whoever receives
/// an interface, from queryInterface or from the registry, releases it.
class SDK_EXPORT QUnknownInterface
{
public:
    /// Sets \a iface to the face of this object that \a id names, with one
    /// reference more, or to null with QE_NOINTERFACE.
    virtual QRESULT queryInterface(const QUuid& id, QUnknownInterface** iface) = 0;
    virtual ulong addRef() = 0;
    virtual ulong release() = 0;

protected:
    virtual ~QUnknownInterface() = default;
};
