#ifndef TARNWAVE_HOST_BASE_SIGNALS_H
#define TARNWAVE_HOST_BASE_SIGNALS_H

// Signals and slots with the names plug-ins were written against (the old
// "SigC" 1.2 interface), carried by libsigc++ 3.
//
//   class Player : public SigC::Object
//   {
//       eTimer m_poll{eApp};
//       void pollState();
//   public:
//       Player() { CONNECT(m_poll.timeout, Player::pollState); }
//   };
//
// A slot bound to a member of an object derived from SigC::Object is
// disconnected when that object is destroyed, so a signal emitted afterwards
// calls nothing.

#include <sigc++/sigc++.h>

namespace SigC {

// The root of everything that slots can be bound to. Plug-in classes reach it
// as a virtual base through SigC::Object (and may name it directly as one).
class ObjectBase : public sigc::trackable
{
public:
    ObjectBase() = default;
    ObjectBase(const ObjectBase &) = default;
    ObjectBase &operator=(const ObjectBase &) = default;
    virtual ~ObjectBase() = default;
};

class Object : public virtual ObjectBase
{
public:
    Object() = default;
    Object(const Object &) = default;
    Object &operator=(const Object &) = default;
    ~Object() override = default;
};

// Signals with 0..3 arguments: connect(slot), emit(args...), operator()(args...).
template <class R>
using Signal0 = sigc::signal<R()>;
template <class R, class A1>
using Signal1 = sigc::signal<R(A1)>;
template <class R, class A1, class A2>
using Signal2 = sigc::signal<R(A1, A2)>;
template <class R, class A1, class A2, class A3>
using Signal3 = sigc::signal<R(A1, A2, A3)>;

// Slots held on their own, e.g. as a callback member.
template <class R>
using Slot0 = sigc::slot<R()>;
template <class R, class A1>
using Slot1 = sigc::slot<R(A1)>;
template <class R, class A1, class A2>
using Slot2 = sigc::slot<R(A1, A2)>;
template <class R, class A1, class A2, class A3>
using Slot3 = sigc::slot<R(A1, A2, A3)>;

// What connect() returns; disconnect() it to break the link by hand.
using Connection = sigc::connection;

// slot(object, &Class::method) and slot(&object, &Class::method): the member
// called on that object. Class may be any base of the object's type.
template <class T, class C, class R, class... A>
sigc::slot<R(A...)> slot(T &object, R (C::*method)(A...))
{
    return sigc::mem_fun(object, method);
}

template <class T, class C, class R, class... A>
sigc::slot<R(A...)> slot(const T &object, R (C::*method)(A...) const)
{
    return sigc::mem_fun(object, method);
}

template <class T, class C, class R, class... A>
sigc::slot<R(A...)> slot(T *object, R (C::*method)(A...))
{
    return sigc::mem_fun(*object, method);
}

template <class T, class C, class R, class... A>
sigc::slot<R(A...)> slot(const T *object, R (C::*method)(A...) const)
{
    return sigc::mem_fun(*object, method);
}

// slot(&function): a free (or static member) function.
template <class R, class... A>
sigc::slot<R(A...)> slot(R (*function)(A...))
{
    return sigc::ptr_fun(function);
}

// bind(slot, values...): fixes the last arguments of the slot to the values.
using sigc::bind;

} // namespace SigC

// Inside a member function: connect `_signal` to the member `_slot`
// ("Class::method") of this object.
#define CONNECT(_signal, _slot) _signal.connect(SigC::slot(*this, &_slot))

#endif
