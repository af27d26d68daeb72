/** The text of a body, or undefined for one of more than `limit` bytes, of which no more than that is read. */
export async function readText(message: Request | Response, limit: number): Promise<string | undefined> {
  if (Number(message.headers.get("Content-Length")) > limit) {
    await message.body?.cancel();
    return undefined;
  }
  const decoder = new TextDecoder();
  let text = "";
  let length = 0;
  for await (const chunk of message.body ?? []) {
    length += chunk.length;
    if (length > limit) return undefined;
    text += decoder.decode(chunk, { stream: true });
  }
  return text + decoder.decode();
}
