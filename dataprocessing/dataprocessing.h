#pragma once

/// @file
/// The umbrella header: everything that a user of DataProcessing calls.

#include "dataprocessing/binary/bnry.h"
#include "dataprocessing/reduce/stat.h"
#include "dataprocessing/unary/scandata.h"
#include "dataprocessing/unary/unry.h"
#include "dataprocessing/valuemodel/arr.h"
#include "dataprocessing/valuemodel/barr.h"
#include "dataprocessing/valuemodel/cal.h"
#include "dataprocessing/valuemodel/clct.h"
#include "dataprocessing/valuemodel/comp.h"
#include "dataprocessing/valuemodel/conv.h"
#include "dataprocessing/valuemodel/darr.h"
#include "dataprocessing/valuemodel/dtyp.h"
#include "dataprocessing/valuemodel/expt.h"
#include "dataprocessing/valuemodel/hndl.h"
#include "dataprocessing/valuemodel/list.h"
#include "dataprocessing/valuemodel/mesg.h"
#include "dataprocessing/valuemodel/obty.h"
#include "dataprocessing/valuemodel/parr.h"
#include "dataprocessing/valuemodel/pnum.h"
#include "dataprocessing/valuemodel/resc.h"
#include "dataprocessing/valuemodel/rnge.h"
#include "dataprocessing/valuemodel/str.h"
#include "dataprocessing/valuemodel/tgio.h"
#include "dataprocessing/valuemodel/type.h"
