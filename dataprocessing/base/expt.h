#pragma once

/// @file
/// The exceptions. What the library refuses ends in one of these; only the tagged streams answer
/// false instead, and the routines of namespace rcps as each of them says.

#include <exception>
#include <memory>

#include "dataprocessing/base/str.h"
#include "dataprocessing/dataprocessing_export.h"

/// Message of a division by a number, or by an array with an element, that is zero.
inline constexpr const char expt_DivideByZero[] = "Division by zero.";
/// Message of a function whose argument lies outside its domain.
inline constexpr const char expt_DomainError[] = "Domain error.";
/// Message of the inversion of a matrix whose determinant is zero.
inline constexpr const char expt_InvertSingularMatrix[] = "Cannot invert a singular matrix.";

/// A misuse that the program could have avoided: an unknown element type, mismatched boolean
/// arrays, an argument that means nothing. Copying it never throws.
class DATAPROCESSING_EXPORT expt_cProgramException : public std::exception {
public:
    /// A refusal without a message: `what()` is "unit:line".
    expt_cProgramException(const str_cString& sourceFile, int line);
    /// A refusal that says more: `what()` is "unit:line: message".
    expt_cProgramException(const str_cString& sourceFile, int line, const str_cString& message);
    ~expt_cProgramException() override;

    expt_cProgramException(const expt_cProgramException&) noexcept = default;
    expt_cProgramException& operator=(const expt_cProgramException&) noexcept = default;

    /// The source unit that refused, by its bare name ("binary1").
    const str_cString& SourceFile() const noexcept;
    /// The number that identifies the place within the unit.
    int Line() const noexcept;
    /// "unit:line", followed by ": message" where there is a message.
    const char* what() const noexcept override;

protected:
    /// The message, empty where there is none.
    const str_cString& MessageText() const noexcept;

private:
    struct sDetail;
    std::shared_ptr<const sDetail> detail_;
};

/// A failure that the caller's data cause (a zero divisor, an empty array): it has a message that
/// can be shown to a person.
class DATAPROCESSING_EXPORT expt_cUserException : public expt_cProgramException {
public:
    /// `what()` is "unit:line: message".
    expt_cUserException(const str_cString& sourceFile, int line, const str_cString& message);
    ~expt_cUserException() override;

    expt_cUserException(const expt_cUserException&) noexcept = default;
    expt_cUserException& operator=(const expt_cUserException&) noexcept = default;

    /// The message alone.
    const str_cString& Message() const noexcept { return MessageText(); }
};
