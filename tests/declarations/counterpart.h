#pragma once

namespace kelvor::test {

// The SDK's type for one of ours; each of ours is named by a specialisation. A type that is made of
// other types is made of their counterparts.
template <class Type>
struct CounterpartOf {
    using Sdk = Type;
};

template <class Type>
using Counterpart = typename CounterpartOf<Type>::Sdk;

template <class Type>
struct CounterpartOf<const Type> {
    using Sdk = const Counterpart<Type>;
};

template <class Type>
struct CounterpartOf<Type*> {
    using Sdk = Counterpart<Type>*;
};

template <class Type>
struct CounterpartOf<Type&> {
    using Sdk = Counterpart<Type>&;
};

template <class Interface, class Result, class... Arguments>
struct CounterpartOf<Result (Interface::*)(Arguments...)> {
    using Sdk = Counterpart<Result> (Counterpart<Interface>::*)(Counterpart<Arguments>...);
};

}  // namespace kelvor::test
