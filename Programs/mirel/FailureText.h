#pragma once

#include <Standard_Failure.hxx>

#include <exception>
#include <new>
#include <string>

namespace mirel {

struct FailureText {
  /// What people are told of the exception that is being handled; to be called in a handler. What is neither OpenCASCADE's nor
  /// the standard library's goes on being thrown.
  static std::string OfCaught() {
    try {
      throw;
    } catch (const Standard_Failure& failure) {
      return std::string("OpenCASCADE gave up: ") + failure.DynamicType()->Name() + " " +
             failure.GetMessageString();
    } catch (const std::bad_alloc&) {
      return "out of memory";
    } catch (const std::exception& failure) {
      return failure.what();
    }
  }
};

}  // namespace mirel
