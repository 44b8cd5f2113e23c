import { useWords } from '../i18n/texts';
import { network } from '../state/network';
import { useStore } from '../state/store';
import { LineBadge } from '../ui/line_badge';
import { Alerts } from './alerts';
import { PanelHead } from './panel_head';
import { VehicleList } from './vehicle_list';

export function LinePanel({ id }: { id: string }) {
  const words = useWords();
  const known = useStore(network);
  const route = known?.routes.get(id);
  return (
    <>
      <PanelHead kind={words.say('line')} title={route?.long_name ?? (known && !route ? words.say('not_found') : id)}
        badge={<LineBadge line={route?.short_name ?? null} color={route?.color ?? null} />} />
      <Alerts routes={[id]} />
      <VehicleList line={id} />
    </>
  );
}
