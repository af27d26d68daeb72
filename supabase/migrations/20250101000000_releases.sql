-- Where releases are announced: anybody may read it, nobody but the project's owner writes it.
insert into storage.buckets (id, name, public)
values ('releases', 'releases', true)
on conflict (id) do update set public = true;
