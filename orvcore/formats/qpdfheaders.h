#pragma once

// The PDF library's headers ask for this choice (its old pointer class is not used here) and warn where it is missing.
#ifndef POINTERHOLDER_TRANSITION
#define POINTERHOLDER_TRANSITION 4
#endif

#include <qpdf/Pipeline.hh>
#include <qpdf/QPDF.hh>
#include <qpdf/QPDFExc.hh>
#include <qpdf/QPDFLogger.hh>
#include <qpdf/QPDFObjectHandle.hh>
#include <qpdf/QPDFPageDocumentHelper.hh>
#include <qpdf/QPDFPageObjectHelper.hh>
#include <qpdf/QPDFWriter.hh>
#include <qpdf/QUtil.hh>
