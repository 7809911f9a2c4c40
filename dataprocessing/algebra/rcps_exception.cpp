#include "dataprocessing/algebra/rcps_exception.h"

rcps_cRecipesException::rcps_cRecipesException()
    : expt_cUserException("recipes", 0, "Singular matrix.") {}

rcps_cRecipesException::~rcps_cRecipesException() = default;
