/** The text of a body, or undefined for one of more than `limit` bytes, of which no more than that is read. */
export async function readText(message: Request | Response, limit: number): Promise<string | undefined> {
  if (Number(message.headers.get("Content-Length")) > limit) {
    await message.body?.cancel();
    return undefined;
  }
  const chunks: Uint8Array[] = [];
  let length = 0;
  for await (const chunk of message.body ?? []) {
    length += chunk.length;
    if (length > limit) return undefined;
    chunks.push(chunk);
  }
  // At once: text that is decoded piece by piece takes two bytes a letter.
  return await new Blob(chunks).text();
}
