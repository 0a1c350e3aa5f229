#pragma once

/// @file
/// The whole library in one include. Components that use a family or two include those headers.

/// @namespace nuriccl
/// All of the library, but for the services of the agent.

#include <nuriccl/address_map.hpp>
#include <nuriccl/Base64Wrapper.hpp>
#include <nuriccl/buffer.hpp>
#include <nuriccl/CharacterEncoder.hpp>
#include <nuriccl/cron.hpp>
#include <nuriccl/deque.hpp>
#include <nuriccl/encoding.hpp>
#include <nuriccl/file.hpp>
#include <nuriccl/filenamehelper.hpp>
#include <nuriccl/fsvlist.hpp>
#include <nuriccl/MultiBuffer.hpp>
#include <nuriccl/signature.hpp>
#include <nuriccl/SingleInstance.hpp>
#include <nuriccl/string.hpp>
#include <nuriccl/StringFunctors.hpp>
#include <nuriccl/tempfile.hpp>
#include <nuriccl/util.hpp>
#include <nuriccl/Version.hpp>
#include <nuriccl/Zlib.hpp>
