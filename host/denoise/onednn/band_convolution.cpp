#include "band_convolution.h"

#include <algorithm>

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
  const std::size_t known = static_cast<std::size_t>(convolution.inputs) * 9,
                    all = static_cast<std::size_t>(form.inputs) * 9;
  kernel_.resize(static_cast<std::size_t>(channels_) * all);
  for (std::size_t i = 0; i < static_cast<std::size_t>(convolution.outputs); ++i)
    std::copy_n(&convolution.kernel[i * known], known, &kernel_[i * all]);
  bias_.resize(static_cast<std::size_t>(channels_));
}

BandConvolution::Forward::primitive_desc BandConvolution::describe(const Band& band) const {
  const memory::dims one{1, 1}, before{band.top ? 1 : 0, 1}, after{band.bottom ? 1 : 0, 1};
  const Forward::desc description(
      dnnl::prop_kind::forward_inference, dnnl::algorithm::convolution_direct,
      rowsOf(band.sourceRows(), form_.width, form_.inputs, form_.source),
      memory::desc({channels_, form_.inputs, 3, 3}, typeOf(form_.source), memory::format_tag::any),
      memory::desc({channels_}, memory::data_type::f32, memory::format_tag::a),
      rowsOf(band.rows, form_.width, channels_, form_.result), one, before, after);
  dnnl::post_ops operations;
  if (form_.rectify) operations.append_eltwise(1, dnnl::algorithm::eltwise_relu, 0, 0);
  dnnl::primitive_attr attributes;
  attributes.set_post_ops(operations);
  attributes.set_scratchpad_mode(dnnl::scratchpad_mode::user); // threads share a primitive
  return {description, attributes, engine_};
}

memory BandConvolution::kernelFor(const memory::desc& wanted) const {
  for (const auto& [key, kind] : kinds_)
    if (kind.kernel.get_desc() == wanted) return kind.kernel;
  memory plain({{channels_, form_.inputs, 3, 3}, memory::data_type::f32, memory::format_tag::oihw}, engine_,
               const_cast<float*>(kernel_.data()));
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
    const Forward::primitive_desc description = describe(band);
    const memory kernel = kernelFor(description.weights_desc());
    known = kinds_.emplace(key, Kind{description, Forward(description), kernel}).first;
  }
  return known->second.description.scratchpad_desc().get_size();
}

void BandConvolution::run(const Band& band, const dnnl::stream& stream, const void* source, void* result,
                          void* scratch) const {
  const Kind& kind = kinds_.at({band.rows, band.top, band.bottom});
  const memory::desc bias({channels_}, memory::data_type::f32, memory::format_tag::a);
  kind.primitive.execute(
      stream, {{DNNL_ARG_SRC, memory(kind.description.src_desc(), engine_, const_cast<void*>(source))},
               {DNNL_ARG_WEIGHTS, kind.kernel},
               {DNNL_ARG_BIAS, memory(bias, engine_, const_cast<float*>(bias_.data()))},
               {DNNL_ARG_DST, memory(kind.description.dst_desc(), engine_, result)},
               {DNNL_ARG_SCRATCHPAD, memory(kind.description.scratchpad_desc(), engine_, scratch)}});
}

} // namespace host::denoise
