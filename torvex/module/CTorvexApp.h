#pragma once

namespace torvex {

/// The library's one application object, made when the library is loaded and destroyed when it
/// is unloaded.
class CTorvexApp {
public:
    CTorvexApp() = default;
    virtual ~CTorvexApp() = default;
    /// Always answers 1: the library needs no start-up work.
    virtual int InitInstance();
    /// The object of the loaded library.
    static CTorvexApp& Instance();
};

} // namespace torvex
