// Names of numbers that the standards give.

/** service_type, EN 300 468 table 87. @type {Record<number, string>} */
const SERVICE_TYPES = {
  1: 'TV',
  2: 'Radio',
  3: 'Teletext',
  4: 'NVOD reference',
  5: 'NVOD',
  6: 'Mosaic',
  7: 'FM radio',
  8: 'SRM',
  10: 'Radio, advanced codec',
  11: 'Mosaic, advanced codec',
  12: 'Data',
  16: 'MHP',
  17: 'HD TV, MPEG-2',
  22: 'SD TV, advanced codec',
  23: 'SD NVOD, advanced codec',
  24: 'SD NVOD reference',
  25: 'HD TV, advanced codec',
  26: 'HD NVOD, advanced codec',
  27: 'HD NVOD reference',
  28: '3D HD TV',
  29: '3D NVOD',
  30: '3D NVOD reference',
  31: 'TV, HEVC',
  32: 'UHD TV, HEVC',
};

/** @param {number} type */
export function serviceTypeName(type) {
  return SERVICE_TYPES[type] ?? `Type ${type}`;
}

/** profile and level of MPEG-2 video, ISO/IEC 13818-2 clause 8. @type {Record<string, string>} */
const MPEG2_PROFILES = { 1: 'High', 2: 'Spatially scalable', 3: 'SNR scalable', 4: 'Main', 5: 'Simple' };
/** @type {Record<string, string>} */
const MPEG2_LEVELS = { 4: 'High', 6: 'High 1440', 8: 'Main', 10: 'Low' };

/**
 * Profile and level as one reads them: "Main @ 4.0"; numbers without a name stay numbers.
 * @param {{coding: string, profile: string, level: number | null}} video
 */
export function profileAndLevel(video) {
  const { coding, level } = video;
  if (!level && (!video.profile || video.profile === 'zero')) return 'unknown';
  if (coding === 'MPEG-2') {
    return `${MPEG2_PROFILES[video.profile] ?? video.profile} @ ${MPEG2_LEVELS[level ?? 0] ?? level}`;
  }
  return coding === 'H.264' && level ? `${video.profile} @ ${(level / 10).toFixed(1)}` : `${video.profile} @ ${level}`;
}

/** descriptor_tag, EN 300 468 table 12. @type {Record<number, string>} */
const DESCRIPTORS = {
  64: 'Network name',
  65: 'Service list',
  67: 'Satellite delivery',
  68: 'Cable delivery',
  74: 'Linkage',
  90: 'Terrestrial delivery',
  95: 'Private data specifier',
  127: 'Extension',
};

/** @param {number} tag */
export function descriptorName(tag) {
  return DESCRIPTORS[tag] ?? '';
}
