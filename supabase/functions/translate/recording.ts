const headerSize = 44;
const bytesPerSecond = 32_000;

/** Seconds. A function has 256 MB of memory, and needs several times what it passes on. */
export const longestRecording = 10 * 60;

/** Length in base64 of the longest recording. */
export const longestAudio = Math.ceil((headerSize + longestRecording * bytesPerSecond) / 3) * 4;

/**
 * How many seconds a recording in base64 lasts, or what is wrong with it. It must be what Tavrik records: of another
 * format, the same number of bytes could hold hours.
 */
export function measure(audio: unknown): { seconds: number } | { fault: string } {
  if (typeof audio !== "string" || audio === "" || audio.length % 4 !== 0) return { fault: "the data is not base64" };
  const padding = audio.endsWith("==") ? 2 : audio.endsWith("=") ? 1 : 0;
  // Looks for what must not be there: matching the whole would need a stack as long as the text.
  if (/[^A-Za-z0-9+/]/.test(audio.slice(0, audio.length - padding))) return { fault: "the data is not base64" };

  const bytes = audio.length / 4 * 3 - padding;
  const head = atob(audio.slice(0, 60));
  if (bytes < headerSize || !head.startsWith("RIFF") || head.slice(8, 12) !== "WAVE") {
    return { fault: "not a RIFF/WAVE file" };
  }
  const header = new DataView(Uint8Array.from(head, (character) => character.charCodeAt(0)).buffer);
  const isTavriks = head.slice(12, 16) === "fmt " && header.getUint16(20, true) === 1 &&
    header.getUint16(22, true) === 1 && header.getUint32(24, true) === 16_000 && header.getUint16(34, true) === 16;
  // All that follows counts as sound, whatever length the header claims.
  return isTavriks ? { seconds: (bytes - headerSize) / bytesPerSecond } : { fault: "not 16 kHz, mono, 16-bit PCM" };
}
