#include "band_convolution.h"

#include <algorithm>
#include <unordered_map>

namespace host::denoise {
namespace {

using dnnl::memory;

memory::data_type typeOf(Precision precision) {
  return precision == Precision::bfloat16 ? memory::data_type::bf16 : memory::data_type::f32;
}

memory::desc rowsOf(int rows, int width, int channels, Precision precision) {
  return {{1, channels, rows, width}, typeOf(precision), memory::format_tag::nhwc};
}

} // namespace

BandConvolution::BandConvolution(const dnnl::engine& engine, const Convolution& convolution, const Form& form)
    : engine_(engine), form_(form), channels_(wholeChannels(convolution.outputs)), bias_(convolution.bias) {
  int first = 0;
  for (const int inputs : form_.pieces) {
    std::vector<float>& kernel = kernels_.emplace_back(static_cast<std::size_t>(channels_ * inputs) * 9);
    const int known = std::clamp(convolution.inputs - first, 0, inputs);
    for (int i = 0; i < convolution.outputs; ++i)
      std::copy_n(&convolution.kernel[static_cast<std::size_t>(i * convolution.inputs + first) * 9],
                  known * 9, &kernel[static_cast<std::size_t>(i * inputs) * 9]);
    first += inputs;
  }
  bias_.resize(static_cast<std::size_t>(channels_));
}

// The first piece brings the bias, the last one cuts off what is negative.
BandConvolution::Forward::primitive_desc BandConvolution::describe(const Band& band,
                                                                   std::size_t piece) const {
  const memory::dims one{1, 1}, before{band.top ? 1 : 0, 1}, after{band.bottom ? 1 : 0, 1};
  const int inputs = form_.pieces[piece];
  const bool first = piece == 0, last = piece + 1 == form_.pieces.size();
  const Forward::desc description(
      dnnl::prop_kind::forward_inference, dnnl::algorithm::convolution_direct,
      rowsOf(band.sourceRows(), form_.width, inputs, form_.source),
      memory::desc({channels_, inputs, 3, 3}, typeOf(form_.source), memory::format_tag::any),
      first ? memory::desc({channels_}, memory::data_type::f32, memory::format_tag::a) : memory::desc(),
      rowsOf(band.rows, form_.width, channels_, form_.result), one, before, after);
  dnnl::post_ops operations;
  if (!first) operations.append_sum();
  if (last && form_.rectify) operations.append_eltwise(1, dnnl::algorithm::eltwise_relu, 0, 0);
  dnnl::primitive_attr attributes;
  attributes.set_post_ops(operations);
  attributes.set_scratchpad_mode(dnnl::scratchpad_mode::user); // threads share a primitive
  return {description, attributes, engine_};
}

memory BandConvolution::kernelFor(const memory::desc& wanted, std::size_t piece) const {
  for (const auto& [key, kind] : kinds_)
    if (kind[piece].kernel.get_desc() == wanted) return kind[piece].kernel;
  memory plain({{channels_, form_.pieces[piece], 3, 3}, memory::data_type::f32, memory::format_tag::oihw},
               engine_, const_cast<float*>(kernels_[piece].data()));
  memory made(wanted, engine_);
  dnnl::stream stream(engine_);
  dnnl::reorder(plain, made).execute(stream, plain, made);
  stream.wait();
  return made;
}

std::size_t BandConvolution::prepare(const Band& band) {
  const Key key{band.rows, band.top, band.bottom};
  auto known = kinds_.find(key);
  if (known == kinds_.end()) {
    Kind kind;
    for (std::size_t piece = 0; piece < form_.pieces.size(); ++piece) {
      const Forward::primitive_desc description = describe(band, piece);
      const memory kernel = kernelFor(description.weights_desc(), piece);
      kind.push_back({description, Forward(description), kernel});
    }
    known = kinds_.emplace(key, std::move(kind)).first;
  }
  std::size_t most = 0;
  for (const Step& step : known->second)
    most = std::max(most, step.description.scratchpad_desc().get_size());
  return most;
}

void BandConvolution::run(const Band& band, const dnnl::stream& stream,
                          const std::vector<const std::byte*>& sources, void* result, void* scratch) const {
  const Kind& kind = kinds_.at({band.rows, band.top, band.bottom});
  const memory::desc bias({channels_}, memory::data_type::f32, memory::format_tag::a);
  for (std::size_t piece = 0; piece < kind.size(); ++piece) {
    const Step& step = kind[piece];
    void* source = const_cast<std::byte*>(sources[piece]);
    std::unordered_map<int, memory> arguments{
        {DNNL_ARG_SRC, memory(step.description.src_desc(), engine_, source)},
        {DNNL_ARG_WEIGHTS, step.kernel},
        {DNNL_ARG_DST, memory(step.description.dst_desc(), engine_, result)},
        {DNNL_ARG_SCRATCHPAD, memory(step.description.scratchpad_desc(), engine_, scratch)}};
    if (piece == 0) arguments[DNNL_ARG_BIAS] = memory(bias, engine_, const_cast<float*>(bias_.data()));
    step.primitive.execute(stream, arguments);
  }
}

} // namespace host::denoise
