// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGTYPEDFUNCTORS_H
#define OSGTYPEDFUNCTORS_H

#include "OSGConfig.h"

#include <functional>
#include <utility>

OSG_BEGIN_NAMESPACE

/// A function that takes an ArgT & (usually a pointer to a container) and returns a RetT. Any callable object converts
/// to it. Calling an empty one throws std::bad_function_call.
template <class RetT, class ArgT>
class TypedFunctor1 {
public:
    TypedFunctor1() = default;
    template <class CallableT, class = decltype(RetT(std::declval<CallableT&>()(std::declval<ArgT&>())))>
    TypedFunctor1(CallableT callable) : _call(std::move(callable)) {}

    RetT call(ArgT& argument) const { return _call(argument); }

private:
    std::function<RetT(ArgT&)> _call;
};

/// The same with a second argument.
template <class RetT, class Arg1T, class Arg2T>
class TypedFunctor2 {
public:
    TypedFunctor2() = default;
    template <class CallableT,
              class = decltype(RetT(std::declval<CallableT&>()(std::declval<Arg1T&>(), std::declval<Arg2T>())))>
    TypedFunctor2(CallableT callable) : _call(std::move(callable)) {}

    RetT call(Arg1T& argument1, Arg2T argument2) const { return _call(argument1, argument2); }

private:
    std::function<RetT(Arg1T&, Arg2T)> _call;
};

// Create functors from functions and from methods of an object. The object is not owned and must outlive the functor.

template <class RetT, class Arg1T>
inline TypedFunctor1<RetT, Arg1T> osgTypedFunctionFunctor1CPtrRef(RetT (*function)(Arg1T&)) {
    return function;
}

template <class RetT, class Arg1T, class Arg2T>
inline TypedFunctor2<RetT, Arg1T, Arg2T> osgTypedFunctionFunctor2CPtrRef(RetT (*function)(Arg1T&, Arg2T)) {
    return function;
}

template <class RetT, class ObjectT, class Arg1T>
inline TypedFunctor1<RetT, Arg1T> osgTypedMethodFunctor1ObjPtrCPtrRef(ObjectT* object,
                                                                      RetT (ObjectT::*method)(Arg1T&)) {
    return [object, method](Arg1T& argument) { return (object->*method)(argument); };
}

template <class RetT, class ObjectT, class Arg1T, class Arg2T>
inline TypedFunctor2<RetT, Arg1T, Arg2T> osgTypedMethodFunctor2ObjPtrCPtrRef(ObjectT* object,
                                                                             RetT (ObjectT::*method)(Arg1T&, Arg2T)) {
    return [object, method](Arg1T& argument1, Arg2T argument2) { return (object->*method)(argument1, argument2); };
}

OSG_END_NAMESPACE

#endif
